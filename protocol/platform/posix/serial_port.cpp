#include "protocol/platform/platform.h"
#include "protocol/platform/posix/deadline.h"
#include "protocol/platform/posix/port_paths.h"
#include "protocol/platform/posix/port_timeouts.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace protocol::platform {
namespace {

Deadline deadlineIn(std::int64_t ms) {
    return Deadline(std::chrono::milliseconds(ms));
}

bool mayTryAgain(int error) {
    return error == EINTR || error == EAGAIN;
}

Transfer failure(int error) {
    return {0, Transfer::Fault::failed, error};
}

// Two locks: the terminal's own does not stop the superuser, and the advisory one does not stop
// programs that never ask.
bool claim(int descriptor) {
    return isatty(descriptor) != 0 && flock(descriptor, LOCK_EX | LOCK_NB) == 0 &&
           ioctl(descriptor, TIOCEXCL) == 0;
}

int openDescriptor(const char* path) {
    int descriptor = -1;
    do {
        descriptor = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

} // namespace

std::intptr_t openPort(const char* name) {
    try {
        const int descriptor = openDescriptor(portPath(name).c_str());
        if (descriptor >= 0 && !claim(descriptor)) {
            close(descriptor);
            return -1;
        }
        return descriptor;
    } catch (const std::exception&) {
        return -1;
    }
}

// Dropping the output first keeps a close from waiting while the device holds CTS low.
void closePort(std::intptr_t port) {
    const int descriptor = static_cast<int>(port);
    tcflush(descriptor, TCOFLUSH);
    forgetTimeouts(port);
    ioctl(descriptor, TIOCNXCL);
    flock(descriptor, LOCK_UN);
    close(descriptor);
}

bool setQueueSizes(std::intptr_t, int, int) {
    return true;
}

bool getTimeouts(std::intptr_t port, PortTimeouts& timeouts) {
    timeouts = timeoutsOf(port);
    return true;
}

bool setTimeouts(std::intptr_t port, const PortTimeouts& timeouts) {
    return storeTimeouts(port, timeouts);
}

Transfer readPort(std::intptr_t port, char* buffer, int max) {
    const int descriptor = static_cast<int>(port);
    const Deadline deadline = deadlineIn(timeoutsOf(port).constantMs);
    while (true) {
        if (!waitUntilReady(descriptor, POLLIN, deadline)) {
            return errno == 0 ? Transfer{} : failure(errno);
        }
        const ssize_t got = read(descriptor, buffer, static_cast<std::size_t>(max));
        if (got >= 0) {
            return {static_cast<int>(got)};
        }
        if (!mayTryAgain(errno)) {
            return failure(errno);
        }
        if (deadline.leftMs() == 0) {
            return {};
        }
    }
}

Transfer writePort(std::intptr_t port, const char* bytes, int n) {
    const int descriptor = static_cast<int>(port);
    const PortTimeouts timeouts = timeoutsOf(port);
    const Deadline deadline =
        deadlineIn(timeouts.constantMs + std::int64_t{timeouts.writeMsPerByte} * n);
    int written = 0;
    while (written < n) {
        const ssize_t put =
            write(descriptor, bytes + written, static_cast<std::size_t>(n - written));
        if (put > 0) {
            written += static_cast<int>(put);
        } else if (put < 0 && !mayTryAgain(errno)) {
            return failure(errno);
        } else if (!waitUntilReady(descriptor, POLLOUT, deadline) || deadline.leftMs() == 0) {
            break;
        }
    }
    return {written};
}

void purgePort(std::intptr_t port, bool received, bool unsent) {
    const int queues = received && unsent ? TCIOFLUSH : received ? TCIFLUSH : TCOFLUSH;
    tcflush(static_cast<int>(port), queues);
}

void clearFault(std::intptr_t) {}

void setBreak(std::intptr_t port, bool on) {
    ioctl(static_cast<int>(port), on ? TIOCSBRK : TIOCCBRK);
}

} // namespace protocol::platform

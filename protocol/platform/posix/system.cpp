#include "protocol/platform/platform.h"
#include "protocol/platform/posix/deadline.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <poll.h>
#include <pthread.h>
#include <thread>

namespace protocol::platform {

void sleepMs(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

std::int64_t nowMs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

bool waitUntilReady(int descriptor, short events, const Deadline& deadline) {
    while (true) {
        pollfd waiting = {descriptor, events, 0};
        const int ready = poll(&waiting, 1, deadline.leftMs());
        if (ready > 0) {
            return true;
        }
        if (ready == 0) {
            errno = 0;
            return false;
        }
        if (errno != EINTR) {
            return false;
        }
    }
}

static_assert(sizeof(sigset_t) <= 128);

// Faults of the thread itself stay unblocked: they must end the program where they happen.
SignalBlock::SignalBlock() {
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP}) {
        sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    std::memcpy(m_before, &before, sizeof(before));
}

SignalBlock::~SignalBlock() {
    sigset_t before;
    std::memcpy(&before, m_before, sizeof(before));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace protocol::platform

#include "app/platform/StandardStreams.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Morvalin::App {

namespace {

constexpr int graceMilliseconds = 1000;

/// A pipe that polls as writable takes this much without blocking.
constexpr std::size_t chunkSize = PIPE_BUF;

/// poll() that goes on after a signal. The time starts anew then: it is only a limit.
int pollAgain(pollfd* descriptors, nfds_t count, int milliseconds) {
    int ready = 0;
    do
        ready = ::poll(descriptors, count, milliseconds);
    while (ready < 0 && errno == EINTR);
    return ready;
}

/// True when the parent wants the process to outlive its terminal, as nohup does.
bool isIgnored(int signal) {
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

/// A byte in this pipe wakes the write that is waiting.
struct StandardOutput::State {
    int readEnd = -1;
    int writeEnd = -1;

    /// Waits until something can be written; false when the reader takes too long.
    bool waitUntilWritable() const {
        pollfd descriptors[] = {{STDOUT_FILENO, POLLOUT, 0}, {readEnd, POLLIN, 0}};
        pollAgain(descriptors, 2, -1);
        if (descriptors[0].revents != 0)
            return true;
        return pollAgain(descriptors, 1, graceMilliseconds) > 0;
    }
};

void prepareStandardStreams() {
    // Opened the wrong way round, so that using them still fails as if they were closed.
    constexpr int modes[] = {O_WRONLY, O_RDONLY, O_RDONLY};
    for (int descriptor = 0; descriptor < 3; ++descriptor)
        if (::fcntl(descriptor, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", modes[descriptor]));
    std::signal(SIGPIPE, SIG_IGN);
}

std::vector<int> stopSignals() {
    std::vector<int> signals = {SIGINT, SIGTERM};
    if (!isIgnored(SIGHUP))
        signals.push_back(SIGHUP);
    return signals;
}

void writeErrorAtOnce(std::string_view text) {
    pollfd descriptor = {STDERR_FILENO, POLLOUT, 0};
    if (pollAgain(&descriptor, 1, 0) > 0)
        static_cast<void>(::write(STDERR_FILENO, text.data(), text.size()));
}

StandardOutput::StandardOutput() : state(std::make_unique<State>()) {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
    state->readEnd = ends[0];
    state->writeEnd = ends[1];
}

StandardOutput::~StandardOutput() {
    ::close(state->readEnd);
    ::close(state->writeEnd);
}

StandardOutput::Result StandardOutput::write(std::string_view text, std::string& error) {
    while (!text.empty()) {
        if (!state->waitUntilWritable())
            return Result::ReaderGone;
        const ssize_t written =
            ::write(STDOUT_FILENO, text.data(), std::min(text.size(), chunkSize));
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (errno == EINTR || errno == EAGAIN)
            continue;
        if (errno == EPIPE || errno == EBADF)
            return Result::ReaderGone;
        error = std::generic_category().message(errno);
        return Result::Failed;
    }
    return Result::Written;
}

void StandardOutput::hurry() {
    const char wake = 0;
    static_cast<void>(::write(state->writeEnd, &wake, 1));
}

} // namespace Morvalin::App

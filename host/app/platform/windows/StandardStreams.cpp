#include "app/platform/StandardStreams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>

#include <io.h>

namespace Morvalin::App {

struct StandardOutput::State {};

// Closed streams fail by themselves here, and there is no signal for a reader that has gone.
void prepareStandardStreams() {}

std::vector<int> stopSignals() {
    return {SIGINT, SIGTERM, SIGBREAK};
}

// Whether a write would wait is not known here.
void writeErrorAtOnce(std::string_view text) {
    static_cast<void>(::_write(2, text.data(), static_cast<unsigned>(text.size())));
}

StandardOutput::StandardOutput() = default;

StandardOutput::~StandardOutput() = default;

StandardOutput::Result StandardOutput::write(std::string_view text, std::string& error) {
    errno = 0;
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (written)
        return Result::Written;
    if (errno == EPIPE || errno == EINVAL || errno == EBADF)
        return Result::ReaderGone;
    error = std::generic_category().message(errno);
    return Result::Failed;
}

// A write that waits cannot be woken here: the end waits for the reader.
void StandardOutput::hurry() {}

} // namespace Morvalin::App

#include "simulator/posix/StaleLink.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

namespace ndisim {

namespace {

namespace fs = std::filesystem;

bool isTerminalName(const std::string& path) {
    constexpr std::string_view folder = "/dev/pts/";
    return path.starts_with(folder) && path.size() > folder.size() &&
           path.find_first_not_of("0123456789", folder.size()) == std::string::npos;
}

// One that another user keeps from being opened is held, too.
bool isAbandoned(const std::string& terminal) {
    const int end = ::open(terminal.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (end < 0) {
        return errno == ENOENT || errno == EIO || errno == ENXIO;
    }
    pollfd state{end, 0, 0};
    const bool isHungUp = ::poll(&state, 1, 0) == 1 && (state.revents & POLLHUP) != 0;
    ::close(end);
    return isHungUp;
}

} // namespace

void removeStaleLink(const fs::path& link) {
    std::error_code error;
    const std::string target = fs::read_symlink(link, error).string();
    if (!error && isTerminalName(target) && isAbandoned(target)) {
        fs::remove(link, error);
    }
}

} // namespace ndisim

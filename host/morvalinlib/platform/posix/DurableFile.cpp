#include "morvalinlib/platform/DurableFile.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace Morvalin {

namespace {

/// Closes a descriptor at the end of a scope.
struct Descriptor {
    explicit Descriptor(int descriptor) : value(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (value >= 0)
            ::close(value);
    }
    const int value;
};

void require(bool succeeded) {
    if (!succeeded)
        throw std::system_error(errno, std::generic_category());
}

} // namespace

void writeNewFile(const std::filesystem::path& path, std::string_view text) {
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    require(file.value >= 0);
    while (!text.empty()) {
        const ssize_t written = ::write(file.value, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        require(written >= 0);
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    require(::fsync(file.value) == 0);
}

void syncFolder(const std::filesystem::path& folder) noexcept {
    const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.value >= 0)
        ::fsync(directory.value);
}

} // namespace Morvalin

#include "morvalinlib/platform/DurableFile.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

namespace Morvalin {

namespace {

constexpr std::size_t largestWrite = 1u << 20;

/// Closes a descriptor at the end of a scope.
struct Descriptor {
    explicit Descriptor(int descriptor) : value(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (value >= 0)
            _close(value);
    }
    const int value;
};

void require(bool succeeded) {
    if (!succeeded)
        throw std::system_error(errno, std::generic_category());
}

} // namespace

void writeNewFile(const std::filesystem::path& path, std::string_view text) {
    const Descriptor file(
        _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE));
    require(file.value >= 0);
    while (!text.empty()) {
        const auto size = static_cast<unsigned>(std::min(text.size(), largestWrite));
        const int written = _write(file.value, text.data(), size);
        require(written >= 0);
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    require(_commit(file.value) == 0);
}

void syncFolder(const std::filesystem::path&) noexcept {}

} // namespace Morvalin

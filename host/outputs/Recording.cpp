#include "outputs/Recording.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <morvalincore/FilePath.h>

namespace Morvalin::App {

namespace {

/// Bytes of a line; a frame with every tool and marker that a device knows has a tenth.
constexpr std::size_t longestLine = std::size_t{1} << 20;

/// It could have become a frame or an event.
bool isBeginning(std::string_view piece) {
    const auto fits = [&](std::string_view head) {
        const std::size_t length = std::min(head.size(), piece.size());
        return head.substr(0, length) == piece.substr(0, length);
    };
    return fits("{\"stream\":") || fits("{\"event\":");
}

} // namespace

Recording::Recording(const std::string& path) : name(path), buffer(longestLine + 1) {
    std::error_code ignored;
    const std::filesystem::path place = toPath(path);
    if (std::filesystem::exists(place, ignored) &&
        !std::filesystem::is_regular_file(place, ignored))
        throw std::runtime_error("recording " + name + ": is not a plain file");
    errno = 0;
    file.open(place, std::ios::binary);
    if (!file)
        throw std::runtime_error("recording " + name + ": " +
                                 std::generic_category().message(errno));
}

std::optional<RecordedLine> Recording::next() {
    if (!file)
        return std::nullopt;
    file.getline(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    auto length = static_cast<std::size_t>(file.gcount());
    if (file.eof() && length == 0)
        return std::nullopt;
    ++number;
    if (file.bad())
        refuse("could not be read");
    const bool isWhole = !file.eof();
    if (isWhole && file.fail())
        refuse("is no frame and no event: the line is too long");
    length -= isWhole ? 1 : 0; // the line end is counted
    const std::string_view line(buffer.data(), length);
    try {
        return readRecordedLine(line);
    } catch (const std::runtime_error& fault) {
        brokenOff = !isWhole && isBeginning(line);
        if (!brokenOff)
            refuse(fault.what());
    }
    return std::nullopt;
}

void Recording::refuse(const std::string& reason) const {
    throw std::runtime_error("recording " + name + ":" + std::to_string(number) + ": " + reason);
}

} // namespace Morvalin::App

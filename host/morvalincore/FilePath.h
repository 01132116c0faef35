#pragma once

#include <filesystem>
#include <string>

namespace Morvalin {

/// File names are UTF-8 wherever they are kept as text. The library's own conversions would take
/// them for the system's code page on some systems.
inline std::filesystem::path toPath(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

inline std::string toText(const std::filesystem::path& path) {
    const std::u8string utf8 = path.u8string();
    return {utf8.begin(), utf8.end()};
}

} // namespace Morvalin

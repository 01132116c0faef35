#pragma once

#include <filesystem>
#include <string_view>

namespace Morvalin {

/// Creates a file that does not exist yet, writes the text and returns when it is on the disk.
/// Throws std::system_error; the file may then exist with a part of the text.
void writeNewFile(const std::filesystem::path& path, std::string_view text);

/// Returns when the names in a folder are on the disk. Failures are ignored: not every file system
/// can do it, and the contents of the files are safe.
void syncFolder(const std::filesystem::path& folder) noexcept;

} // namespace Morvalin

#pragma once

#include <filesystem>
#include <string>

namespace Morvalin {

/// What is wrong with the file of a library whose loading would end the process, such as one that
/// was copied in part only; empty when nothing is, or when the system's loader itself says so.
std::string libraryFileFault(const std::filesystem::path& path);

} // namespace Morvalin

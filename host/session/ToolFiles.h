#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <morvalincore/Properties.h>

namespace Morvalin::App {

// The tool definition files that a workspace names. A relative path in a workspace begins at the
// folder of its file; in memory all paths are absolute. An empty path (a tool without a file) and
// one that names something built into a plug-in stand for no file.

/// A file as a block names it.
struct NamedTool {
    std::string written;
    std::filesystem::path path; ///< absolute
    int line = 0;               ///< where the workspace file says it
};

/// Where relative paths of a workspace file begin. A link is followed, so that it does not matter
/// by which name the file is opened. Empty when nobody knows, as in a folder that is gone.
std::filesystem::path folderOf(const std::string& workspaceFile);

/// Makes the paths of the tools of an algorithm's block absolute and tells which they are.
std::vector<NamedTool> resolveTools(Properties& block, const std::filesystem::path& folder);

/// The other way round: paths below the folder become relative.
void shortenTools(Properties& block, const std::filesystem::path& folder);

/// Why a file is no tool definition that could be loaded; empty when it may be one. Never waits for
/// a pipe or a device.
std::string toolFault(const std::filesystem::path& path);

} // namespace Morvalin::App

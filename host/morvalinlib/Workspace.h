#pragma once

#include <string>

#include <morvalincore/Properties.h>
#include <morvalinlib/Export.h>

namespace Morvalin {

/// Workspace files: a root block "Workspace" with the block "Algorithms", whose sub-blocks are
/// named by the id of an algorithm and hold its settings. Everything else in the root is kept as it
/// is.
///
/// Paths are UTF-8 on Windows and the system's bytes elsewhere. The functions never throw; on
/// failure they return false and set `error` to one line that names the file and the fault.
namespace Workspace {

inline constexpr const char* rootName = "Workspace";
inline constexpr const char* algorithmsName = "Algorithms";

/// Reads a file and runs the registered conversions on it. `root` changes only on success.
MORVALINLIB_EXPORT bool load(const std::string& path, Properties& root, std::string& error);

/// Finds out whether save() could write the file now, by creating an empty one beside it and
/// removing it again.
MORVALINLIB_EXPORT bool canSave(const std::string& path, std::string& error);

/// Writes a file in one step: whatever happens meanwhile, what stands at the path is the old file
/// or the whole new one. A link is followed; an existing file's permissions are kept.
MORVALINLIB_EXPORT bool save(const std::string& path, const Properties& root, std::string& error);

} // namespace Workspace

} // namespace Morvalin

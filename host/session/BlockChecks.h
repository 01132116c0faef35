#pragma once

#include <optional>
#include <string>
#include <vector>

#include <morvalincore/Properties.h>

#include "session/KnownSettings.h"
#include "session/ToolFiles.h"

namespace Morvalin::App {

/// "FILE:LINE: " for messages about what stands there.
std::string place(const std::string& file, int line);

/// Why a block cannot be used.
struct Misfit {
    std::string fault;
    int line = 0; ///< of the file
};

/// Checks what a workspace file says of a stream, before anything is opened: the first value that
/// does not fit its setting or else the first tool that cannot be used. A key that the stream does
/// not know costs a warning; nested blocks that it does not know are somebody else's.
std::optional<Misfit> checkBlock(const std::string& file, const Properties& block,
                                 const std::vector<NamedTool>& tools, const KnownSettings& known);

} // namespace Morvalin::App

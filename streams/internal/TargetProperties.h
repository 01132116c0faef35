#pragma once

#include <optional>
#include <vector>

#include "streams/NDITrackingInstrumentInfo.h"

namespace Morvalin {

class Properties;

/// The registered tools as a hidden block "TrackingTargets": one block a tool, named as the tool,
/// with its "Path" and "Port". Replaces the block if there is one.
void writeTargets(Properties& properties, const std::vector<NDITrackingInstrumentInfo>& tools);

/// The tools of that block; nothing when there is no such block. Entries without a path are left
/// out; a port that is missing is -1.
std::optional<std::vector<NDITrackingInstrumentInfo>> readTargets(const Properties& properties);

} // namespace Morvalin

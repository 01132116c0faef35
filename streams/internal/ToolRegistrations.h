#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "streams/Guarded.h"
#include "streams/NDITrackingInstrumentInfo.h"

namespace Morvalin {

/// The tool definition files that a user has registered, in that order. Tools are set up from a
/// copy, so that the list may change meanwhile.
using ToolRegistrations = Guarded<std::vector<NDITrackingInstrumentInfo>>;

/// Notes the port handle that a tool was given, unless another tool stands in its place by now.
void storePortHandle(ToolRegistrations& registrations, std::size_t index,
                     const NDITrackingInstrumentInfo& tool);

} // namespace Morvalin

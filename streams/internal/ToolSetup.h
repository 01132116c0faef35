#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "streams/Guarded.h"
#include "streams/NDITrackingInstrumentInfo.h"
#include "streams/ThreadSafeInstruments.h"

namespace Morvalin {

class OpenDevice;

/// The tool definition files that a user has registered, in that order. Tools are set up from a
/// copy, so that the list may change meanwhile.
using ToolRegistrations = Guarded<std::vector<NDITrackingInstrumentInfo>>;

/// What the set-up of a stream's tools works on. The caller holds the connection lock.
struct ToolSetup {
    OpenDevice& device;
    ThreadSafeInstruments<NDITrackingInstrumentInfo>& instruments;
    ToolRegistrations& registrations;
    Guarded<std::optional<std::string>>& pendingMainId; ///< wanted as main instrument; consumed
    std::int32_t& dummyToolPortHandle;
};

/// Set up the tools of an initialised device and fill the registry anew. The result says what
/// changed in it. A tool for which a command fails gets nothing that belongs to another one. Throws
/// std::out_of_range for a tool definition whose part number is beyond 32 bits.

/// Loads every registered tool definition; without any that the device takes, a built-in one that
/// no tool bears, so that bare markers are still measured.
std::uint32_t setUpOpticalTools(const ToolSetup& setup);

/// Enters the tools that are plugged in.
std::uint32_t setUpAuroraTools(const ToolSetup& setup);

} // namespace Morvalin

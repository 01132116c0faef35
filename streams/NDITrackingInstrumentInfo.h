#pragma once

#include <cstdint>
#include <string>

namespace Morvalin {

/// A tool definition file that a user has registered, or a tool that was found on the device.
struct NDITrackingInstrumentInfo {
    std::string name;             ///< file name without directory; the tool's name in messages
    std::string romFile;          ///< full path of the tool definition file, empty for none
    std::int32_t port = -1;       ///< physical port, counted from 1; -1: none chosen
    std::int32_t portHandle = -1; ///< the device's handle of the tool; -1: none assigned yet
};

} // namespace Morvalin

#pragma once

#include <cstdint>
#include <string>

namespace Morvalin {

class OpenDevice;

/// What a plugged tool says of itself.
struct ToolInformation {
    std::string name;             ///< its type, manufacturer, revision and serial number; of a tool
                                  ///< without readable data, where it is plugged in
    std::string partNumber;       ///< without blanks at the ends
    std::string type = "Unknown"; ///< such as "Probe"; "Unknown" when it cannot be told
};

/// Ask the device about the tool of a port handle. What it does not answer, or not whole, is empty.
ToolInformation readToolInformation(OpenDevice& device, std::int32_t portHandle);

/// 0 when the device does not tell the port.
std::int32_t readPhysicalPort(OpenDevice& device, std::int32_t portHandle);

} // namespace Morvalin

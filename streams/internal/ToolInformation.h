#pragma once

#include <string>
#include <string_view>

struct DeviceRecord;

namespace Morvalin {

/// What a plugged tool says of itself.
struct ToolInformation {
    std::string name;       ///< its type, manufacturer, revision and serial number; of a tool
                            ///< without readable data, where it is plugged in
    std::string partNumber; ///< without blanks at the ends
    std::string type;       ///< such as "Probe"; "Unknown" when it cannot be told
};

/// Reads the answer to the last PHINF query for tool information, part number and port location.
ToolInformation readToolInformation(const DeviceRecord* device);

/// The physical port in the text of a port location, 0 when there is none.
int physicalPort(std::string_view portLocation);

} // namespace Morvalin

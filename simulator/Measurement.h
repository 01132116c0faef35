#pragma once

#include "simulator/Path.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ndisim {

/// How a tool fares in one measurement; the numbers are those of the binary reply.
enum class ToolStatus : std::uint8_t {
    Valid = 1,
    Missing = 2,   ///< enabled but not seen
    Disabled = 4,  ///< not enabled
    Unoccupied = 8 ///< its port has become empty; the binary reply says disabled
};

/// One handle's part of a measurement.
struct ToolMeasurement {
    int handle = 0;
    ToolStatus status = ToolStatus::Valid;
    std::uint32_t portStatus = 0;
    std::uint32_t frame = 0;
    Pose pose;                           ///< meaningful when the status is Valid
    std::vector<Position> markers;       ///< at most 20
    std::optional<Position> singleStray; ///< of an active tool
};

/// One measurement, everything that BX, TX and GX replies are made of.
struct Measurement {
    std::uint32_t frame = 0;
    std::vector<ToolMeasurement> tools; ///< in the order of their handles
    std::vector<Position> strays;       ///< at most 255
    std::uint16_t systemStatus = 0;
};

} // namespace ndisim

#pragma once

#include "simulator/Path.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ndisim {

/// Handles are numbered from here; the handle of physical port p is firstHandle + p - 1.
inline constexpr int firstHandle = 0x0A;

/// The place of a handle on the path, counted from 1.
constexpr int placeOfHandle(int handle) {
    return handle - firstHandle + 1;
}

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

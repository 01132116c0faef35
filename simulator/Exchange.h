#pragma once

#include "simulator/DeviceOptions.h"
#include "simulator/Path.h"

#include <cstdint>
#include <optional>
#include <string>
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
};

/// What the device does about one command.
struct Outcome {
    std::string bytes; ///< the reply as it goes over the line, CRC and carriage return included
    std::optional<LinkSettings> link;       ///< to take effect after the reply has gone out
    std::optional<Measurement> measurement; ///< what a BX, TX or GX reply was made of
};

/// One command and what became of it.
struct Exchange {
    std::string command;  ///< without CRC and carriage return; "BREAK" for a break on the line
    std::string received; ///< as it came, without carriage return
    std::string reply;    ///< the device's answer, all of it; empty if it did not execute
    std::string sent;     ///< what was handed to the line, faults included
    std::string fault;    ///< faultText, empty when nothing was to go wrong
    std::optional<Measurement> measurement; ///< what a BX, TX or GX reply was made of
};

} // namespace ndisim

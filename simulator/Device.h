#pragma once

#include "simulator/DeviceOptions.h"
#include "simulator/Measurement.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

struct DeviceCore;

/// Time since any fixed point, never going back. Tests hand in one that they move themselves.
using Clock = std::function<std::chrono::nanoseconds()>;

/// The system's steady clock.
Clock steadyClock();

/// What the device does about one command.
struct Outcome {
    std::string bytes; ///< the reply as it goes over the line, CRC and carriage return included
    std::optional<LinkSettings> link;       ///< to take effect after the reply has gone out
    std::optional<Measurement> measurement; ///< what a BX, TX or GX reply was made of
};

/// The measurement system itself: a state machine that takes one command and gives one reply,
/// whatever carries them. Not thread-safe.
class Device {
public:
    /// Throws std::invalid_argument as checkOptions does.
    explicit Device(DeviceOptions options, Clock clock = steadyClock());
    ~Device();
    Device(Device&&) noexcept;
    Device& operator=(Device&&) noexcept;

    /// Executes a command, given with its CRC if it has one but without the carriage return.
    Outcome execute(std::string_view command);

    /// What a break on the line does: back to power-on, at 9600 baud, with the banner as reply.
    Outcome resetLink();

    /// The reply with an error code, as the device gives it.
    static std::string errorReply(unsigned code);

    Family family() const;
    DeviceState state() const;

    /// The settings that the device's end of a serial line has after its last reply.
    LinkSettings link() const;

    /// Number of the newest measurement; stands still while the device does not track. The first
    /// one after a reset is 1, and INIT does not count anew.
    std::uint32_t frameNumber() const;

    /// The newest measurement, as a host that asks for poses outside the volume would get it.
    Measurement measure() const;

    /// The part number text at byte 592 of the image loaded to a handle, empty if there is none.
    std::string loadedPartNumber(int handle) const;

    /// The whole image loaded to a handle (1,024 bytes), empty if some of it has not arrived.
    std::vector<std::uint8_t> loadedImage(int handle) const;

    /// Plugs a tool in (or another one into the same port), or pulls it. Aurora only.
    void plugTool(const WiredTool& tool);
    void unplugTool(int port);

    /// Replaces the list of tools that are not well.
    void setToolStates(std::vector<ToolStateRule> rules);

    /// Changes the number of stray markers in sight.
    void setStrays(unsigned count);

    /// Number of the volume in use, counted from 1.
    int selectedVolume() const;

private:
    std::unique_ptr<DeviceCore> m_core;
};

} // namespace ndisim

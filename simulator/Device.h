#pragma once

#include "simulator/Exchange.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

struct DeviceCore;

/// The measurement system itself: a state machine that takes one command and gives one reply,
/// whatever carries them. Not thread-safe.
class Device {
public:
    /// Throws std::invalid_argument as checkOptions does.
    explicit Device(DeviceOptions options, Clock clock = steadyClock());
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

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

    /// The part number text at byte 592 of the image loaded to a handle, empty if there is none.
    std::string loadedPartNumber(int handle) const;

    /// The whole image loaded to a handle (1,024 bytes), empty if some of it has not arrived.
    std::vector<std::uint8_t> loadedImage(int handle) const;

    /// Plugs a tool in (or another one into the same port), or pulls it. Aurora only.
    void plugTool(const WiredTool& tool);
    void unplugTool(int port);

    /// Changes the number of stray markers in sight.
    void setStrays(unsigned count);

    /// Number of the volume in use, counted from 1.
    int selectedVolume() const;

private:
    std::unique_ptr<DeviceCore> m_core;
};

} // namespace ndisim

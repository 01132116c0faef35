#pragma once

#include "simulator/Exchange.h"

#include <bitset>
#include <map>
#include <string_view>

namespace ndisim {

/// A tool definition as it arrives in 16 blocks of 64 bytes.
struct ToolImage {
    static constexpr std::size_t blockSize = 64;
    static constexpr std::size_t blockCount = 16;

    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(blockSize * blockCount);
    std::bitset<blockCount> arrived;

    bool isWhole() const { return arrived.all(); }
    bool isBlank() const; ///< nothing but zeros
    void store(std::size_t block, std::string_view content);
    std::string partNumber() const;
};

/// A handle and the tool behind it.
struct PortHandle {
    int number = 0;
    bool isWired = false;
    bool isGone = false; ///< pulled, or left over from before INIT: waits to be freed
    bool isInitialised = false;
    bool isEnabled = false;
    ToolImage image;
    WiredTool tool; ///< what the tool says of itself

    bool isOccupied() const;
    unsigned status() const; ///< bits: 1 occupied, 16 initialised, 32 enabled
    std::string partNumber() const;
};

/// The device's state and what follows from it; the commands work on it.
struct DeviceCore {
    DeviceOptions options;
    Clock clock;
    DeviceState state = DeviceState::PowerOn;
    LinkSettings link;
    std::map<int, PortHandle> handles;
    int volume = 1;
    std::uint32_t framesBefore = 0; ///< measured before tracking last began
    std::chrono::nanoseconds trackingSince{0};

    bool isWiredFamily() const { return !factsOf(options.family).isOptical; }
    std::vector<Volume> volumes() const;

    void powerOn();
    void initialise();
    void startTracking(bool isCountedAnew);
    void stopTracking();
    std::uint32_t frameNumber() const;
    Measurement measure(bool withOutOfVolume) const;

    PortHandle& assignWired(const WiredTool& tool);
    PortHandle* assignWireless(); ///< null when all handles are taken
    PortHandle* findWired(int port);
    const ToolImage* loadedImage(int handle) const; ///< null when not all of it has come

private:
    ToolMeasurement measureTool(const PortHandle& handle, std::uint32_t frame,
                                bool withOutOfVolume) const;
    std::optional<ToolCondition> conditionOf(int place, std::uint32_t frame) const;
};

} // namespace ndisim

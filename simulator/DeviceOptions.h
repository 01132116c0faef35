#pragma once

#include "simulator/Family.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

/// The settings of a serial link, as the COMM command numbers them.
struct LinkSettings {
    char rateCode = '0';  ///< '0' 9600 baud … '7' 1228739, 'A' 230400
    char dataBits = '0';  ///< '0' eight, '1' seven
    char parity = '0';    ///< '0' none, '1' odd, '2' even
    char stopBits = '0';  ///< '0' one, '1' two
    char handshake = '0'; ///< '1' RTS/CTS

    bool operator==(const LinkSettings&) const = default;
};

/// Settings from one to five digits ("5", "50001"), the rest as at power-on.
/// Throws std::invalid_argument for anything that COMM would not take.
LinkSettings parseLinkSettings(std::string_view digits);

/// Baud of a rate code. Code '7' gives 19200: that is what hosts set their port to for it.
int hostBaud(char rateCode);

/// What stands in a physical port of an electromagnetic system.
struct WiredTool {
    int port = 1;                              ///< 1 to 24
    bool isOccupied = true;                    ///< false: the port has a handle but no tool
    std::string type = "02000000";             ///< 8 characters of the tool information
    std::string manufacturer = "MORVALIN SIM"; ///< at most 12 characters
    std::string revision = "001";              ///< 3 characters
    std::string serialNumber;                  ///< 8 characters; empty: made from the port
    std::string partNumber; ///< at most 20 characters; empty: made from type and port
};

/// Reads PORT[:TYPE[:PARTNUMBER]]. TYPE is one of toolTypeNames(), "blank" for a tool without
/// readable information, "empty" for a port without a tool, or 8 characters for the tool
/// information itself. Throws std::invalid_argument with a line that says what is wrong.
WiredTool parseWiredTool(std::string_view text);

/// "probe, reference, stylus, …", for help texts.
std::string toolTypeNames();

/// Reads cube:P1,P2,P3,P4,P5,P6 or dome:…. Throws std::invalid_argument.
Volume parseVolume(std::string_view text);

enum class ToolCondition {
    Missing,    ///< not seen
    Disabled,   ///< reported as disabled although the host enabled it
    OutOfVolume ///< a pose only for hosts that ask for poses outside the volume
};

/// A tool that is not well in some frames: those from `first` to `last`, of every `period` frames
/// if that is not 0.
struct ToolStateRule {
    int place = 0; ///< 0: every tool
    ToolCondition condition = ToolCondition::Missing;
    std::uint32_t first = 0;
    std::uint32_t last = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t period = 0;

    bool applies(int toolPlace, std::uint32_t frame) const;
};

/// Reads PLACE:missing|disabled|out-of-volume[:FIRST-LAST[/PERIOD]], PLACE a number or '*'.
/// Throws std::invalid_argument.
ToolStateRule parseToolState(std::string_view text);

/// What the device does, in the order in which a host brings it up.
enum class DeviceState { PowerOn, Initialised, Tracking };

/// Everything that makes one simulated device differ from another.
struct DeviceOptions {
    Family family = Family::Vega;
    double rateHz = 0; ///< 0: the family's; else above 0, at most 250
    DeviceState state = DeviceState::PowerOn;
    LinkSettings link;            ///< not those of power-on: as a crashed host left it
    bool isOldFirmware = false;   ///< knows VER but not GETINFO
    int maxHandles = 24;          ///< handles for tools without a cable, at most 200
    unsigned strays = 0;          ///< optical only, at most 255
    unsigned markersPerTool = 4;  ///< at most 20
    bool hasSingleStray = false;  ///< every enabled tool reports an active stray marker
    bool hasInfrared = false;     ///< IRCHK finds a source on both sides
    std::vector<Volume> volumes;  ///< empty: the family's; at most 9
    std::vector<WiredTool> tools; ///< Aurora only
    std::vector<ToolStateRule> toolStates;
};

/// Throws std::invalid_argument with a line that names the option if one is out of its range or
/// does not fit the family.
void checkOptions(const DeviceOptions& options);

/// Time since any fixed point, never going back. Tests hand in one that they move themselves.
using Clock = std::function<std::chrono::nanoseconds()>;

/// The system's steady clock.
inline Clock steadyClock() {
    return [] { return std::chrono::steady_clock::now().time_since_epoch(); };
}

} // namespace ndisim

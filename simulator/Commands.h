#pragma once

#include "simulator/DeviceCore.h"

#include <span>

namespace ndisim {

/// Error codes that the device gives by itself.
namespace deviceError {
inline constexpr unsigned invalidCommand = 0x01;
inline constexpr unsigned commandTooLong = 0x02;
inline constexpr unsigned commandTooShort = 0x03;
inline constexpr unsigned badCrc = 0x04;
inline constexpr unsigned parameterCount = 0x07;
inline constexpr unsigned invalidHandle = 0x08;
inline constexpr unsigned invalidPriority = 0x09;
inline constexpr unsigned wrongMode = 0x0C;
inline constexpr unsigned noTool = 0x0D;
inline constexpr unsigned notInitialised = 0x0E;
inline constexpr unsigned notEnabled = 0x0F;
inline constexpr unsigned systemNotInitialised = 0x10;
inline constexpr unsigned cannotInitialise = 0x13;
inline constexpr unsigned outOfRange = 0x23;
inline constexpr unsigned notAllocated = 0x2B;
inline constexpr unsigned becameUnoccupied = 0x2C;
inline constexpr unsigned noHandleLeft = 0x2D;
inline constexpr unsigned invalidPort = 0x2E;
inline constexpr unsigned portAssigned = 0x2F;
} // namespace deviceError

/// Ends a command with the device's error reply.
struct CommandError {
    unsigned code = 0;
};

using Arguments = std::string_view;

/// When a command may be given.
enum class AllowedIn {
    Always,      ///< from power-on
    Initialised, ///< after INIT, tracking or not
    SetUp,       ///< after INIT, not while tracking
    Tracking     ///< while tracking only
};

struct CommandEntry {
    std::string_view name;
    AllowedIn allowed;
    Outcome (*execute)(DeviceCore&, Arguments); ///< throws CommandError
};

/// The device, its volumes and measurements.
std::span<const CommandEntry> systemCommands();
/// Handles, from the request to the tool that is enabled.
std::span<const CommandEntry> handleCommands();
/// What the device tells about handles and ports.
std::span<const CommandEntry> portCommands();

/// Executes a command as Device::execute takes it. Throws CommandError.
Outcome executeCommand(DeviceCore& core, std::string_view text);

/// A text reply with its CRC.
Outcome textReply(std::string_view text);
Outcome okay();

/// The hexadecimal options after a command, 0x0001 without any. Throws CommandError.
unsigned replyOptions(Arguments arguments);

/// Throws CommandError unless the arguments have exactly this length.
void requireLength(Arguments arguments, std::size_t length);

/// The handle that the first two digits name. Throws CommandError if there is none.
PortHandle& handleOf(DeviceCore& core, Arguments arguments);

} // namespace ndisim

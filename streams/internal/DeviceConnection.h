#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "streams/NDIConnectionData.h"

/// Connecting to a device and letting go of it, for all families. What goes wrong is logged here.
/// The caller holds the connection lock, or nobody else uses the connection any more.
namespace Morvalin {

/// Connect to the device of the stored address. Nothing is returned when the address is refused or
/// no device answers; else the address that was tried, and the connection's device is null if it
/// could not be opened. `search` looks for a serial device and stores the port that it found.
std::optional<std::string> connectNetworkDevice(NDIConnectionData& connection);
std::optional<std::string> connectSerialDevice(NDIConnectionData& connection,
                                               const std::function<bool()>& search);

/// Asks the serial ports in turn. Stores the name of the first one on which a device answers;
/// false, with nothing stored, when there is none.
bool searchSerialPorts(NDIConnectionData& connection);

/// Lets errors of the device reach the log in the name of `stream`, sets the link up and
/// initialises the device. Returns false when there is no device. What the device answers is not
/// looked at.
bool initializeDevice(NDIConnectionData& connection, const std::string& address, void* stream);

/// Resets the speed of a serial link, closes the device and forgets it. Nothing happens without
/// one.
void releaseDevice(NDIConnectionData& connection);

/// Logs what the protocol library reports. `stream` is null for errors that belong to no stream.
void logDeviceError(std::int32_t code, const char* text, void* stream);

} // namespace Morvalin

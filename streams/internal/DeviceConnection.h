#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "streams/NDIConnectionData.h"

/// Connecting to a device, what it is asked first, letting go of it, and what it tells for a
/// report, for all families. What goes wrong is logged here. The caller holds the connection lock,
/// or nobody else uses the connection any more.
namespace Morvalin {

/// Connect to the device of the stored address. Nothing is returned when the address is refused or
/// no device answers; else the address that was tried, and the connection's device is null if it
/// could not be opened.
std::optional<std::string> connectNetworkDevice(NDIConnectionData& connection);
std::optional<std::string> connectSerialDevice(NDIConnectionData& connection);

/// Asks the serial ports in turn. Stores the name of the first one on which a device answers, and
/// returns it; nothing, with nothing stored, when there is none.
std::optional<std::string> searchSerialPorts(NDIConnectionData& connection);

/// Notes what is waited for from now on: some answers of the device at that address, or, later,
/// those to what is asked at the end.
void awaitAnswers(NDIConnectionData& connection, const std::string& address, std::size_t count);
void awaitEnd(NDIConnectionData& connection, const std::string& address);

/// Lets errors of the device reach the log in the name of `stream`, sets the link up and
/// initialises the device. Returns false when there is no device. What the device answers is not
/// looked at.
bool initializeDevice(NDIConnectionData& connection, const std::string& address, void* stream);

/// Asks the device for its operating volumes and selects the one of the stored index. A reply that
/// ends too early empties the list; one that is none leaves it, and the device, as they were.
void queryDeviceVolumes(NDIConnectionData& connection);

/// Closes the device and forgets it. Nothing happens without one.
void releaseDevice(NDIConnectionData& connection);

/// Logs what the protocol library reports. `stream` is null for errors that belong to no stream.
void logDeviceError(std::int32_t code, const char* text, void* stream);

/// The device's stored replies; empty without a device.
std::string dumpDevice(const NDIConnectionData& connection);

/// Shows the traffic of the connection's device to its trace sink, or to nobody without one.
void traceDevice(NDIConnectionData& connection);

/// Exchanges the connection's trace sink, an empty one being none, also while a device is
/// connected. Leaves the sink before it to the caller, to destroy it when no lock is held.
void traceTo(NDIConnectionData& connection, Diagnosable::TraceSink& sink);

} // namespace Morvalin

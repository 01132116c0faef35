#pragma once

#include <optional>
#include <string>
#include <vector>

#include "streams/NDIConnectionData.h"
#include "streams/NDITrackingInstrumentInfo.h"

/// The saved form of a stream's settings: each key is written and read here only.
namespace Morvalin {

class Properties;

/// Names of the settings.
namespace StreamKeys {
inline constexpr const char* address = "hardwareDevice";
inline constexpr const char* port = "hardwarePort";
inline constexpr const char* rate = "measurementRate";
inline constexpr const char* binary = "binaryQueryMode";
inline constexpr const char* range = "maxRange";
inline constexpr const char* mainInstrument = "selectedInstrument";
inline constexpr const char* tools = "TrackingTargets";
inline constexpr const char* toolPath = "Path";
inline constexpr const char* toolPort = "Port";
/// Of older versions.
inline constexpr const char* removed[] = {"startAfterInit", "blockingInit"};
} // namespace StreamKeys

/// The options of a choice as the host's panels take them: "a, b, c".
std::string joinOptions(const std::vector<std::string>& options);

/// Writes address, TCP port or link speed, and query mode, as far as the kind of connection has
/// them. An address that cannot be one of its kind is cleared.
void writeConnection(Properties& properties, NDIConnectionData& connection,
                     const std::vector<std::string>& measurementRateOptions);

/// Reads what is there of address, TCP port and query mode.
void readConnection(const Properties& properties, NDIConnectionData& connection);

/// The registered tools as a hidden block "TrackingTargets": one block a tool, named as the tool,
/// with its "Path" and "Port". Replaces the block if there is one.
void writeTargets(Properties& properties, const std::vector<NDITrackingInstrumentInfo>& tools);

/// The tools of that block; nothing when there is no such block. Entries without a path are left
/// out; a port that is missing is -1.
std::optional<std::vector<NDITrackingInstrumentInfo>> readTargets(const Properties& properties);

} // namespace Morvalin

#pragma once

#include <string_view>

namespace Morvalin::App {

/// What the host knows by its text of settings that plug-ins define. A stream without them is as
/// good as one that has them; only what is said here is missing for it.
namespace PluginKeys {

/// The block of a stream's tools, one block for each, named by its file; --tool adds to it.
inline constexpr const char* tools = "TrackingTargets";
/// Of a tool: the definition file (empty: none), and the port that it is for.
inline constexpr const char* toolPath = "Path";
inline constexpr const char* toolPort = "Port";
/// Begins a path that names something inside a plug-in, not a file.
inline constexpr const char* builtIn = ":/";

/// The choice of the operating volume, whose outline the window draws. Known to an open device
/// only, so a stream that was not open yet does not write it.
inline constexpr const char* operatingVolume = "maxRange";

/// The words that begin the text of an operating volume.
inline constexpr std::string_view cube = "Cube ";
inline constexpr std::string_view dome = "Dome ";

/// The block of the global settings that says what serial port names stand for.
inline constexpr const char* serialPorts = "SerialPorts";

/// The flags that ask the host to open and to start the stream of a block, by their names in
/// several versions of workspaces; the first one that is there counts.
inline constexpr const char* opens[] = {"open", "autoOpen", "connect"};
inline constexpr const char* starts[] = {"start", "autoStart"};

} // namespace PluginKeys
} // namespace Morvalin::App

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <morvalincore/Properties.h>
#include <morvalinlib/PluginLoader.h>

#include "session/KnownSettings.h"

namespace Morvalin::App {

/// A stream property by its saved name.
struct Setting {
    std::string key;
    std::string value;
};

/// A tool definition to register.
struct Tool {
    std::string path;
    std::int32_t port = 1;
};

/// What a serial port name stands for on this machine.
struct SerialPort {
    std::string name;
    std::string path;
};

/// What a user asks for beside the workspace, on the command line.
struct SessionOptions {
    std::vector<std::string> plugins;
    std::vector<Setting> settings; ///< of every stream
    std::vector<Tool> tools;       ///< likewise
    std::vector<SerialPort> serialPorts;
    std::string saveFile; ///< empty: do not save
};

/// Everything that can be wrong with files and is known before anything is opened: checks that the
/// tools' files can be read and the workspace written, tells the plug-ins what serial port names
/// stand for, loads them in their order, and checks those names, which only plug-ins know. Throws
/// Refusal.
void prepare(PluginLoader& loader, const SessionOptions& options);

/// Adds to the settings `target` of a stream what the options say: values as the kind of setting
/// that they are for, tools behind those that are there. A key that the stream does not know is
/// passed on with a warning. Throws Refusal when a value does not fit.
void applyOptions(const SessionOptions& options, const std::string& streamName,
                  const KnownSettings& known, Properties& target);

} // namespace Morvalin::App

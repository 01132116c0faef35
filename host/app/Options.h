#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Morvalin::App {

enum class Command { List, Stream, Run, Window };

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

/// The command line, checked as far as it can be without looking at files.
struct Options {
    Command command = Command::List;
    std::string subject; ///< algorithm id or workspace file; the window needs none
    std::vector<std::string> plugins;
    std::vector<Setting> settings;
    std::vector<Tool> tools;
    std::vector<SerialPort> serialPorts;
    std::optional<std::uint64_t> frames;
    std::optional<double> seconds;
    bool json = false;
    std::string saveFile;  ///< empty: do not save
    std::string dumpFile;  ///< empty: do not write the device's state
    std::string traceFile; ///< empty: do not write the traffic
    int logLevel = 2;
};

struct HelpText {
    std::string text;
};

/// Reads the command line. Throws Refusal for everything that is wrong with it.
std::variant<Options, HelpText> parseCommandLine(int argc, const char* const* argv);

} // namespace Morvalin::App

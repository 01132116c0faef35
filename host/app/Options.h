#pragma once

#include <string>
#include <variant>

#include "session/SessionOptions.h"
#include "session/SessionRunner.h"

namespace Morvalin::App {

enum class Command { List, Describe, Ports, Stream, Run, Window, Version };

/// The command line, checked as far as it can be without looking at files.
struct Options : SessionOptions {
    Command command = Command::List;
    std::string subject; ///< algorithm id or workspace file; the window needs none
    SessionRunner::Plan plan;
    bool json = false;
    bool events = false;   ///< among the frames, too
    std::string dumpFile;  ///< empty: do not write the device's state
    std::string traceFile; ///< empty: do not write the traffic
    bool probe = false;    ///< ask the devices at serial ports, too
    int logLevel = 2;
    bool logTime = false; ///< in front of each line of the log
};

struct HelpText {
    std::string text;
};

/// Reads the command line. Throws Refusal for everything that is wrong with it.
std::variant<Options, HelpText> parseCommandLine(int argc, const char* const* argv);

} // namespace Morvalin::App

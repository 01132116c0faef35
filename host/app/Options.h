#pragma once

#include <string>
#include <variant>

#include "session/SessionOptions.h"
#include "session/SessionRunner.h"

namespace Morvalin::App {

enum class Command { List, Describe, Ports, Stream, Run, Play, Window, Version };

/// The command line, checked as far as it can be without looking at files.
struct Options : SessionOptions {
    Command command = Command::List;
    std::string subject; ///< algorithm id, workspace or recording; the window needs none
    SessionRunner::Plan plan;
    bool json = false;
    bool events = false;    ///< among the frames, too
    std::string csvFile;    ///< empty: write no table
    std::string recordFile; ///< empty: record nothing
    bool force = false;     ///< write over files that are there
    std::string dumpFile;   ///< empty: do not write the device's state
    std::string traceFile;  ///< empty: do not write the traffic
    bool probe = false;     ///< ask the devices at serial ports, too
    double speed = 1.0;     ///< of a recording: 2 is twice as fast as it was recorded
    int logLevel = 2;
    bool logTime = false; ///< in front of each line of the log
};

struct HelpText {
    std::string text;
};

/// Reads the command line. Throws Refusal for everything that is wrong with it.
std::variant<Options, HelpText> parseCommandLine(int argc, const char* const* argv);

} // namespace Morvalin::App

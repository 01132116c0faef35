#pragma once

#include <stdexcept>
#include <string>

namespace Morvalin::App {

/// What the program ends with.
enum ExitStatus : int {
    Done = 0,         ///< also after it was interrupted
    StreamFailed = 1, ///< something did not stream; the rest did
    WrongUsage = 2,
    FileRefused = 3,  ///< a file or the display cannot be used; nothing was opened
    Stalled = 4,      ///< a stream stood still for longer than was wanted
    EndedAtOnce = 130 ///< by a second signal, with the streams as they were
};

/// Something that was asked for cannot be done, told in one line. A command ends with it.
class Refusal : public std::runtime_error {
public:
    Refusal(ExitStatus exitStatus, const std::string& line) :
        std::runtime_error(line), reason(exitStatus) {}

    ExitStatus status() const { return reason; }

private:
    ExitStatus reason;
};

} // namespace Morvalin::App

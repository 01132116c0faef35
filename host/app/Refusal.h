#pragma once

#include <stdexcept>
#include <string>

namespace Morvalin::App {

/// What the program ends with.
enum ExitStatus : int {
    Done = 0,         ///< also after it was interrupted
    StreamFailed = 1, ///< something did not stream; the rest did
    WrongUsage = 2,
    FileRefused = 3 ///< a file or the display cannot be used; nothing was opened
};

/// Ends the command with one line on standard error.
class Refusal : public std::runtime_error {
public:
    Refusal(ExitStatus exitStatus, const std::string& line) :
        std::runtime_error(line), reason(exitStatus) {}

    ExitStatus status() const { return reason; }

private:
    ExitStatus reason;
};

/// Writes one line to standard error, the program's name in front. Line ends within the text become
/// blanks.
void printError(const std::string& line);

} // namespace Morvalin::App

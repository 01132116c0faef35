#pragma once

#include "simulator/SimulatorOptions.h"

#include <stdexcept>
#include <string>
#include <variant>

namespace ndisim {

/// The command line asks for something that cannot be; the text is one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a command line asks for: to run with these options, or to print this text (--help).
std::variant<SimulatorOptions, std::string> readCommandLine(int argc, const char* const* argv);

} // namespace ndisim

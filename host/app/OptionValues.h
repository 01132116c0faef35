#pragma once

#include <string>
#include <vector>

#include "session/SessionOptions.h"

namespace Morvalin::App {

// What the texts behind options mean. Texts that mean nothing are refused with status WrongUsage,
// or answered with a fault, which is empty for good ones.

[[noreturn]] void refuse(const std::string& line);

/// KEY=VALUE
Setting readSetting(const std::string& text);
/// NAME=PATH
SerialPort readSerialPort(const std::string& text);
std::string readText(const std::string& text);
/// FILE[@PORT]. Only digits behind the last @ are a port, so that @ may stand in file names.
Tool readTool(const std::string& text);

/// Of any value: the library takes whatever comes next for the value of an option.
std::string valueFault(const std::string& text);
/// Of a number above 0, std::uint64_t or double.
template <class Number>
std::string limitFault(const std::string& text);

inline constexpr const char* reconnectName = "--reconnect";

/// The arguments in the order in which the library takes them: the last one first. It would take
/// whatever follows --reconnect for its value.
std::vector<std::string> reversedArguments(int argc, const char* const* argv);

} // namespace Morvalin::App

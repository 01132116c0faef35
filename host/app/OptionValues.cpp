#include "app/OptionValues.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <utility>

#include "session/Refusal.h"

namespace Morvalin::App {

namespace {

constexpr const char* usualReconnect = "5";

/// Splits NAME=VALUE at the first equals sign; the name is never empty.
std::pair<std::string, std::string> splitPair(const std::string& option, const std::string& text,
                                              const std::string& form) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        refuse(option + " \"" + text + "\": must have the form " + form);
    return {text.substr(0, equals), text.substr(equals + 1)};
}

/// Reads a whole text as a number.
template <class Number>
bool readNumber(const std::string& text, Number& number) {
    const char* const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, number);
    return fault == std::errc() && stop == end;
}

} // namespace

void refuse(const std::string& line) {
    throw Refusal(WrongUsage, line);
}

Setting readSetting(const std::string& text) {
    auto [key, value] = splitPair("--set", text, "KEY=VALUE");
    return {std::move(key), std::move(value)};
}

SerialPort readSerialPort(const std::string& text) {
    auto [name, path] = splitPair("--serial-port", text, "NAME=PATH");
    if (path.empty())
        refuse("--serial-port \"" + text + "\": the path is empty");
    return {std::move(name), std::move(path)};
}

std::string readText(const std::string& text) {
    return text;
}

Tool readTool(const std::string& text) {
    Tool tool{text};
    const std::size_t at = text.rfind('@');
    const bool hasPort = at != std::string::npos && at + 1 < text.size() &&
                         text.find_first_not_of("0123456789", at + 1) == std::string::npos;
    if (hasPort) {
        tool.path = text.substr(0, at);
        if (!readNumber(text.substr(at + 1), tool.port))
            refuse("--tool \"" + text + "\": the port is too large");
    }
    if (tool.path.empty())
        refuse("--tool \"" + text + "\": the file name is empty");
    return tool;
}

std::string valueFault(const std::string& text) {
    return text.empty() || text.starts_with("--") ? "needs a value" : "";
}

template <class Number>
std::string limitFault(const std::string& text) {
    Number number{};
    const bool isLimit = readNumber(text, number) && number > 0 &&
                         number <= std::numeric_limits<Number>::max(); // neither NaN nor infinity
    return isLimit ? "" : "\"" + text + "\" must be a number above 0";
}

template std::string limitFault<std::uint64_t>(const std::string& text);
template std::string limitFault<double>(const std::string& text);

std::vector<std::string> reversedArguments(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.emplace_back(argv[i]);
        if (arguments.back() != reconnectName)
            continue;
        double number = 0.0;
        const bool hasValue = i + 1 < argc && readNumber(argv[i + 1], number);
        arguments.back() += std::string("=") + (hasValue ? argv[++i] : usualReconnect);
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

} // namespace Morvalin::App

// The host's command line, and what its values make of a stream's settings.
// Input: the family, then the arguments, one a line.

#include "fuzz/Input.h"
#include "fuzz/StreamFamilies.h"

#include "app/Options.h"
#include "session/Refusal.h"

#include <morvalincore/Log.h>

#include <vector>

namespace {

using namespace Morvalin;
using fuzz::expect;
using fuzz::Input;

std::vector<std::string> readArguments(Input& input) {
    std::vector<std::string> arguments{"morvalin-host"};
    std::string_view rest = input.rest();
    while (!rest.empty()) {
        // Arguments of a program hold no zero bytes.
        const std::string_view line = rest.substr(0, rest.find('\n'));
        arguments.emplace_back(line.substr(0, line.find('\0')));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return arguments;
}

void apply(const App::Options& options, unsigned family) {
    const auto stream = fuzz::makeStream(family);
    Properties current;
    stream->configuration(&current);
    Properties settings;
    App::applyOptions(options, stream->name(), {*stream, current}, settings);
    stream->configure(&settings);
    stream->configuration(&current);
}

void check(const App::Options& options) {
    expect(options.logLevel >= 1 && options.logLevel <= 4, "the log level is one");
    expect(options.plan.frames.value_or(1) > 0 && options.plan.seconds.value_or(1) > 0,
           "limits are limits");
    for (const App::Tool& tool : options.tools)
        expect(!tool.path.empty() && tool.port >= 0, "tools have a file and a port");
    for (const App::SerialPort& port : options.serialPorts)
        expect(!port.name.empty() && !port.path.empty(), "ports have a name and a path");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Log::setSink([](int, const std::string&, const std::string&) {});
    Input input(bytes, size);
    const unsigned family = input.byte();
    const std::vector<std::string> arguments = readArguments(input);
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    pointers.push_back(nullptr);
    try {
        const auto parsed =
            App::parseCommandLine(static_cast<int>(arguments.size()), pointers.data());
        if (const auto* const options = std::get_if<App::Options>(&parsed)) {
            check(*options);
            apply(*options, family);
        }
    } catch (const App::Refusal& refusal) {
        expect(refusal.status() == App::WrongUsage && refusal.what()[0] != '\0',
               "a refusal says why");
    }
    return 0;
}

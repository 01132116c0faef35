#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

#include <CLI/CLI.hpp>

#include "app/Options.h"
#include "app/Refusal.h"
#include "app/Suggestion.h"

namespace Morvalin::App {

namespace {

constexpr const char* description =
    "Loads plug-ins and streams poses from the tracking systems they know.";

constexpr const char* footer = R"(
Log lines go to standard error as "[LEVEL] CATEGORY: text", frames to standard output.
Ctrl-C stops and closes the streams before the program ends.

Exit status:
  0  done, also after Ctrl-C
  1  a stream did not open or start, a block of the workspace was not understood, or frames, the
     workspace, the trace or the dump could not be written; everything else was still done
  2  wrong usage: an unknown option or algorithm, a --set that does not fit its property
  3  a plug-in, workspace or tool file cannot be used, or there is no display for the window;
     nothing was opened

Examples:
  morvalin-host list
  morvalin-host stream NDITracking.PolarisVegaTrackingStream --set hardwareDevice=192.168.1.5 \
      --tool probe.rom --tool reference.rom --frames 100 --json
  morvalin-host stream NDITracking.AuroraTrackingStream --serial-port COM3=/dev/ttyUSB0 \
      --set hardwareDevice=COM3 --save aurora.xml
  morvalin-host run aurora.xml --seconds 10
  morvalin-host gui aurora.xml --serial-port COM3=/dev/ttyUSB0)";

/// The options as they were typed.
struct RawOptions {
    std::string subject;
    std::vector<std::string> plugins;
    std::vector<std::string> settings;
    std::vector<std::string> tools;
    std::vector<std::string> serialPorts;
    std::optional<std::string> frames;
    std::optional<std::string> seconds;
    bool json = false;
    std::optional<std::string> saveFile;
    std::optional<std::string> dumpFile;
    std::optional<std::string> traceFile;
    std::optional<std::string> logLevel;
};

[[noreturn]] void refuse(const std::string& line) {
    throw Refusal(WrongUsage, line);
}

void addRepeatable(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                   const std::string& placeholder, const std::string& help) {
    command.add_option(name, values, help)->type_name(placeholder)->allow_extra_args(false);
}

void addSingle(CLI::App& command, const std::string& name, std::optional<std::string>& value,
               const std::string& placeholder, const std::string& help) {
    command.add_option(name, value, help)->type_name(placeholder);
}

void addHostOptions(CLI::App& command, RawOptions& raw) {
    addRepeatable(command, "--plugin", raw.plugins, "FILE",
                  "plug-in to load; default: all in ../plugins beside the\n"
                  "program's folder; repeatable");
    addSingle(command, "--log-level", raw.logLevel, "L",
              "1 detail, 2 information (default), 3 warning, 4 error");
    command.footer(footer);
}

void addSettingOptions(CLI::App& command, RawOptions& raw) {
    addRepeatable(command, "--set", raw.settings, "KEY=VALUE",
                  "a stream property by its saved name, such as hardwareDevice,\n"
                  "hardwarePort, measurementRate, maxRange, binaryQueryMode or\n"
                  "selectedInstrument; repeatable");
    addRepeatable(command, "--tool", raw.tools, "FILE[@PORT]",
                  "a tool definition to register, port 1 unless given;\n"
                  "repeatable, in order");
    addRepeatable(command, "--serial-port", raw.serialPorts, "NAME=PATH",
                  "what a serial port name stands for on this machine, such as\n"
                  "COM3=/dev/ttyUSB0; repeatable");
    addSingle(command, "--save", raw.saveFile, "WORKSPACE",
              "write the workspace before the streams are closed");
}

void addFrameOptions(CLI::App& command, RawOptions& raw) {
    addSingle(command, "--frames", raw.frames, "N", "stop after so many frames of each stream");
    addSingle(command, "--seconds", raw.seconds, "S",
              "stop when all streams have run so long; without --frames and\n"
              "--seconds the streams run until Ctrl-C");
    command.add_flag("--json", raw.json, "print one JSON object a frame, not readable lines");
    addSingle(command, "--trace", raw.traceFile, "FILE",
              "write every command to the device and every reply with its time");
}

CLI::App* addCommand(CLI::App& app, const std::string& name, const std::string& help,
                     RawOptions& raw) {
    CLI::App* const command = app.add_subcommand(name, help);
    addHostOptions(*command, raw);
    return command;
}

CLI::App* addStreamCommand(CLI::App& app, const std::string& name, const std::string& help,
                           const std::string& subject, const std::string& subjectHelp,
                           RawOptions& raw) {
    CLI::App* const command = addCommand(app, name, help, raw);
    addSettingOptions(*command, raw);
    addFrameOptions(*command, raw);
    command->add_option(subject, raw.subject, subjectHelp)->required()->type_name("");
    return command;
}

CLI::App* addWindowCommand(CLI::App& app, RawOptions& raw) {
    CLI::App* const command = addCommand(app, "gui", "Show a window to use streams in", raw);
    addSettingOptions(*command, raw);
    command->add_option("WORKSPACE", raw.subject, "a workspace file to begin with")->type_name("");
    return command;
}

/// The options of a command, or only those that take a value.
std::vector<std::string> optionNames(const CLI::App& command, bool mustTakeValue = false) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            if (!mustTakeValue || option->get_expected_min() > 0)
                names.push_back("--" + name);
    return names;
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

/// The library takes the next argument for a value that is empty, another option included.
void checkValues(int argc, const char* const* argv, const std::vector<std::string>& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::string next = i + 1 < argc ? argv[i + 1] : "";
        const bool isEmpty = argument.find('=') + 1 == argument.size();
        const std::string name = isEmpty ? argument.substr(0, argument.size() - 1) : argument;
        if (std::find(options.begin(), options.end(), name) == options.end())
            continue;
        if (isEmpty || next.rfind("--", 0) == 0)
            refuse(name + " needs a value");
    }
}

/// Says what is wrong with a command line that could not be read.
[[noreturn]] void refuseUnread(const CLI::App& app, const std::string& fault) {
    const std::vector<std::string> leftover = app.remaining(true);
    const auto chosen = app.get_subcommands();
    if (chosen.empty() && (leftover.empty() || leftover.front().rfind('-', 0) == 0))
        refuse("a command is missing: list, stream, run or gui; --help tells more");
    if (chosen.empty())
        refuse("unknown command \"" + leftover.front() + "\"" +
               suggestion(leftover.front(), commandNames(app)));
    if (leftover.empty())
        refuse(fault);
    const std::string name = leftover.front().substr(0, leftover.front().find('='));
    if (name.rfind('-', 0) == 0)
        refuse("unknown option \"" + name + "\"" + suggestion(name, optionNames(*chosen.front())));
    refuse("one argument too many: \"" + leftover.front() + "\"");
}

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

/// Only digits behind the last @ are a port, so that @ may stand in file names.
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

std::uint64_t readFrames(const std::string& text) {
    std::uint64_t frames = 0;
    if (!readNumber(text, frames) || frames == 0)
        refuse("--frames \"" + text + "\": must be a whole number above 0");
    return frames;
}

double readSeconds(const std::string& text) {
    constexpr double longest = 1e9; // some thirty years, which every clock can count
    double seconds = 0.0;
    if (!readNumber(text, seconds) || !(seconds > 0.0) || !std::isfinite(seconds))
        refuse("--seconds \"" + text + "\": must be a number above 0");
    return std::min(seconds, longest);
}

int readLogLevel(const std::string& text) {
    int level = 0;
    if (!readNumber(text, level) || level < 1 || level > 4)
        refuse("--log-level \"" + text + "\": must be 1, 2, 3 or 4");
    return level;
}

std::string readFileName(const std::string& option, const std::optional<std::string>& text) {
    if (text && text->empty())
        refuse(option + ": the file name is empty");
    return text.value_or("");
}

template <class Item>
void readAll(const std::vector<std::string>& texts, Item (*read)(const std::string&),
             std::vector<Item>& items) {
    std::transform(texts.begin(), texts.end(), std::back_inserter(items), read);
}

Options readOptions(Command command, const RawOptions& raw) {
    Options options;
    options.command = command;
    options.subject = raw.subject;
    options.plugins = raw.plugins;
    readAll(raw.settings, readSetting, options.settings);
    readAll(raw.tools, readTool, options.tools);
    readAll(raw.serialPorts, readSerialPort, options.serialPorts);
    if (raw.frames)
        options.frames = readFrames(*raw.frames);
    if (raw.seconds)
        options.seconds = readSeconds(*raw.seconds);
    options.json = raw.json;
    options.saveFile = readFileName("--save", raw.saveFile);
    options.dumpFile = readFileName("--dump", raw.dumpFile);
    options.traceFile = readFileName("--trace", raw.traceFile);
    if (raw.logLevel)
        options.logLevel = readLogLevel(*raw.logLevel);
    return options;
}

} // namespace

std::variant<Options, HelpText> parseCommandLine(int argc, const char* const* argv) {
    RawOptions raw;
    CLI::App app(description, "morvalin-host");
    app.require_subcommand(1);
    app.footer(footer);
    const CLI::App* const list = addCommand(
        app, "list", "Print the algorithms: id, TAB, display name, TAB, menu path of each", raw);
    CLI::App* const stream =
        addStreamCommand(app, "stream", "Create one algorithm and print the frames of its stream",
                         "ALGORITHM-ID", "what to create, as \"list\" prints it", raw);
    addSingle(*stream, "--dump", raw.dumpFile, "FILE",
              "write what the device last answered when the stream ends or fails\n"
              "to open");
    addStreamCommand(app, "run", "Do so for every algorithm of a workspace file", "WORKSPACE",
                     "a file that --save has written", raw);
    const CLI::App* const window = addWindowCommand(app, raw);
    checkValues(argc, argv, optionNames(*stream, true)); // the others have no more than these
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return HelpText{app.help()};
    } catch (const CLI::ParseError& error) {
        refuseUnread(app, error.what());
    }
    if (list->parsed())
        return readOptions(Command::List, raw);
    if (window->parsed())
        return readOptions(Command::Window, raw);
    return readOptions(stream->parsed() ? Command::Stream : Command::Run, raw);
}

} // namespace Morvalin::App

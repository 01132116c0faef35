#include <algorithm>
#include <iterator>

#include <CLI/CLI.hpp>

#include "app/OptionValues.h"
#include "app/Options.h"
#include "session/Suggestion.h"

namespace Morvalin::App {

namespace {

constexpr const char* description =
    "Loads plug-ins and streams poses from the tracking systems they know.";

constexpr const char* footer = R"(
Log lines go to standard error as "[LEVEL] CATEGORY: text", with several streams as
"[LEVEL] CATEGORY (STREAM): text", frames to standard output.
Ctrl-C stops and closes the streams before the program ends; pressed again, it ends at once.

Exit status:
  0  done, also after Ctrl-C
  1  a stream did not open or start, gave no data at all or none at the end, a block of the
     workspace could not be used, or it has none; or frames, the workspace or one of the other
     files could not be written; everything else was still done
  2  wrong usage: an unknown option, algorithm or serial port name, a --set that does not fit its
     property, a file that would be written over another one that is named
  3  a plug-in, workspace, tool or output file or a recording cannot be used, or there is no
     display for the window; nothing was opened
  4  ended by --stall
  130  ended at once by a second Ctrl-C, without closing the streams

Examples:
  morvalin-host list
  morvalin-host ports --probe
  morvalin-host stream NDITracking.PolarisVegaTrackingStream --set hardwareDevice=192.168.1.5 \
      --tool probe.rom --tool reference.rom --frames 100 --json
  morvalin-host stream NDITracking.AuroraTrackingStream --serial-port COM3=/dev/ttyUSB0 \
      --set hardwareDevice=COM3 --save aurora.xml
  morvalin-host run aurora.xml --seconds 10 --record aurora.jsonl
  morvalin-host play aurora.jsonl --csv poses.csv
  morvalin-host gui aurora.xml --serial-port COM3=/dev/ttyUSB0)";

template <class Value>
CLI::Option* addSingle(CLI::App& command, const std::string& name, Value& value,
                       const std::string& placeholder, const std::string& help) {
    return command.add_option(name, value, help)->type_name(placeholder)->check(valueFault);
}

template <class Item>
void addRepeatable(CLI::App& command, const std::string& name, std::vector<Item>& items,
                   Item (*read)(const std::string&), const std::string& placeholder,
                   const std::string& help) {
    const auto readAll = [&items, read](const std::vector<std::string>& texts) {
        std::transform(texts.begin(), texts.end(), std::back_inserter(items), read);
    };
    command.add_option_function<std::vector<std::string>>(name, readAll, help)
        ->type_name(placeholder)
        ->allow_extra_args(false)
        ->check(valueFault);
}

void addLogOptions(CLI::App& command, Options& options) {
    addSingle(command, "--log-level", options.logLevel, "L",
              "1 detail, 2 information (default), 3 warning, 4 error")
        ->check(CLI::Range(1, 4).description(""));
    command.add_flag("--log-time", options.logTime,
                     "put the UTC time in front of each line of the log");
    command.footer(footer);
}

void addHostOptions(CLI::App& command, Options& options) {
    addRepeatable(command, "--plugin", options.plugins, readText, "FILE",
                  "plug-in to load; default: all in ../plugins beside the\n"
                  "program's folder; repeatable");
    addLogOptions(command, options);
}

void addSerialPortOption(CLI::App& command, Options& options) {
    addRepeatable(command, "--serial-port", options.serialPorts, readSerialPort, "NAME=PATH",
                  "what a serial port name stands for on this machine, such as\n"
                  "COM3=/dev/ttyUSB0; repeatable");
}

void addSettingOptions(CLI::App& command, Options& options) {
    addRepeatable(command, "--set", options.settings, readSetting, "KEY=VALUE",
                  "a stream property by its saved name, such as hardwareDevice,\n"
                  "hardwarePort, measurementRate, maxRange, binaryQueryMode or\n"
                  "selectedInstrument; repeatable");
    addRepeatable(command, "--tool", options.tools, readTool, "FILE[@PORT]",
                  "a tool definition to register, port 1 unless given;\n"
                  "repeatable, in order");
    addSerialPortOption(command, options);
    addSingle(command, "--save", options.saveFile, "WORKSPACE",
              "write the workspace before the streams are closed");
}

void addTableOptions(CLI::App& command, Options& options) {
    addSingle(command, "--csv", options.csvFile, "FILE",
              "write a table of the poses to a file, too: one row an\n"
              "instrument and frame");
    command.add_flag("--force", options.force,
                     "let such files be written over ones that are there");
}

void addPrintOptions(CLI::App& command, Options& options) {
    command.add_flag("--json", options.json, "print one JSON object a frame, not readable lines");
    command.add_flag("--events", options.events,
                     "with --json: print also what else happens to the streams, as\n"
                     "objects that begin with \"event\"");
}

void addFrameOptions(CLI::App& command, Options& options) {
    addSingle(command, "--frames", options.plan.frames, "N",
              "stop after so many frames of each stream")
        ->check(limitFault<std::uint64_t>);
    addSingle(command, "--seconds", options.plan.seconds, "S",
              "stop when all streams have run so long; without --frames and\n"
              "--seconds the streams run until Ctrl-C")
        ->check(limitFault<double>);
    addSingle(command, "--stall", options.plan.stall, "S",
              "end with status 4 when a stream gives no data for S seconds")
        ->check(limitFault<double>);
    addSingle(command, reconnectName, options.plan.reconnect, "[S]",
              "close, open and start a stream again that gives no data for\n"
              "S seconds (default 5) or does not open, as often as it takes")
        ->check(limitFault<double>);
    addPrintOptions(command, options);
    addSingle(command, "--record", options.recordFile, "FILE",
              "write frames and events as lines of JSON to a file, too");
    addTableOptions(command, options);
    addSingle(command, "--trace", options.traceFile, "FILE",
              "write every command to the device and every reply with its time");
}

CLI::App* addCommand(CLI::App& app, Command command, const std::string& name,
                     const std::string& help, Options& options) {
    CLI::App* const added = app.add_subcommand(name, help);
    addHostOptions(*added, options);
    added->callback([&options, command] { options.command = command; });
    return added;
}

CLI::App* addStreamCommand(CLI::App& app, Command command, const std::string& name,
                           const std::string& help, Options& options) {
    CLI::App* const added = addCommand(app, command, name, help, options);
    addSettingOptions(*added, options);
    addFrameOptions(*added, options);
    return added;
}

void addSubject(CLI::App& command, const std::string& name, const std::string& help,
                bool isRequired, Options& options) {
    command.add_option(name, options.subject, help)->required(isRequired)->type_name("");
}

void addPlayCommand(CLI::App& app, Options& options) {
    CLI::App* const play = app.add_subcommand("play", "Print the frames of a recording");
    play->callback([&options] { options.command = Command::Play; });
    addLogOptions(*play, options);
    addSubject(*play, "FILE", "a recording that --record has written", true, options);
    addSingle(*play, "--speed", options.speed, "X",
              "play it X times as fast as it was recorded; 1 unless given")
        ->check(limitFault<double>);
    addPrintOptions(*play, options);
    addTableOptions(*play, options);
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

/// Says what is wrong with a command line that could not be read.
[[noreturn]] void refuseUnread(const CLI::App& app, const std::string& fault) {
    const std::vector<std::string> leftover = app.remaining(true);
    const auto chosen = app.get_subcommands();
    if (chosen.empty() && !leftover.empty() && leftover.front().rfind('-', 0) == 0) {
        const std::string hint = suggestion(leftover.front(), optionNames(app));
        if (!hint.empty())
            refuse("unknown option \"" + leftover.front() + "\"" + hint);
    }
    if (chosen.empty() && (leftover.empty() || leftover.front().rfind('-', 0) == 0))
        refuse("a command is missing: list, describe, ports, stream, run, play or gui; --help "
               "tells more");
    if (chosen.empty())
        refuse("unknown command \"" + leftover.front() + "\"" +
               suggestion(leftover.front(), commandNames(app)));
    if (leftover.empty())
        refuse(fault);
    const std::string name = leftover.front().substr(0, leftover.front().find('='));
    const std::vector<std::string> known = optionNames(*chosen.front());
    if (std::find(known.begin(), known.end(), name) != known.end())
        refuse(name + " belongs behind the command");
    if (name.rfind('-', 0) == 0)
        refuse("unknown option \"" + name + "\"" + suggestion(name, known));
    refuse("one argument too many: \"" + leftover.front() + "\"");
}

} // namespace

std::variant<Options, HelpText> parseCommandLine(int argc, const char* const* argv) {
    Options options;
    CLI::App app(description, "morvalin-host");
    app.require_subcommand(1);
    app.footer(footer);
    app.set_version_flag("--version", std::string(),
                         "Print the version, and the plug-ins that are found");
    addCommand(app, Command::List, "list",
               "Print the algorithms: id, TAB, display name, TAB, menu path of each", options);
    CLI::App* const ports = addCommand(
        app, Command::Ports, "ports",
        "Print what each serial port name stands for here and the port's condition", options);
    addSerialPortOption(*ports, options);
    ports->add_flag("--probe", options.probe,
                    "ask for a device at every port that is free, which may reset it");
    CLI::App* const stream =
        addStreamCommand(app, Command::Stream, "stream",
                         "Create one algorithm and print the frames of its stream", options);
    addSubject(*stream, "ALGORITHM-ID", "what to create, as \"list\" prints it", true, options);
    addSingle(*stream, "--dump", options.dumpFile, "FILE",
              "write what the device last answered when the stream ends or fails\n"
              "to open");
    CLI::App* const run = addStreamCommand(
        app, Command::Run, "run", "Do so for every algorithm of a workspace file", options);
    addSubject(*run, "WORKSPACE", "a file that --save has written", true, options);
    addPlayCommand(app, options);
    CLI::App* const window =
        addCommand(app, Command::Window, "gui", "Show a window to use streams in", options);
    addSettingOptions(*window, options);
    addSubject(*window, "WORKSPACE", "a workspace file to begin with", false, options);
    CLI::App* const describe = addCommand(app, Command::Describe, "describe",
                                          "Print the settings of one algorithm's stream", options);
    addSubject(*describe, "ALGORITHM-ID", "what to describe, as \"list\" prints it", true, options);
    describe->add_flag("--json", options.json, "print one JSON array of objects");
    try {
        app.parse(reversedArguments(argc, argv));
    } catch (const CLI::CallForVersion&) {
        options.command = Command::Version;
    } catch (const CLI::CallForHelp&) {
        return HelpText{app.help()};
    } catch (const CLI::ParseError& error) {
        refuseUnread(app, error.what());
    }
    if (options.events && !options.json)
        refuse("--events needs --json");
    return options;
}

} // namespace Morvalin::App

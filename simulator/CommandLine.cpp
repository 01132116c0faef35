#include "simulator/CommandLine.h"

#include "session/Suggestion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>

namespace ndisim {

namespace {

// What CLI11 fills; turned into SimulatorOptions afterwards.
struct Values {
    std::string family;
    int port = -1;
    std::string link;
    std::string startState = "power-on";
    std::string staleLink;
    std::optional<double> rateHz;
    unsigned chunkGapMs = 1;
};

const std::map<std::string, DeviceState> startStates{{"power-on", DeviceState::PowerOn},
                                                     {"initialised", DeviceState::Initialised},
                                                     {"tracking", DeviceState::Tracking}};

const char* const description =
    "A measurement system in software: a host that talks to it cannot tell it from one on a desk.\n"
    "It answers commands, takes tool definitions, and while it tracks it moves its tools on a "
    "known\n"
    "path, so that a reader can compute what it should have seen (docs/simulator.md).\n";

const char* const footer =
    "\nWhen it answers it prints 'ready ADDRESS', and at the end (Ctrl-C) a line that counts what\n"
    "happened. Exit status: 0 ended by Ctrl-C, SIGTERM or SIGHUP, 1 the trace is not complete,\n"
    "2 wrong usage, 3 the port, link or trace cannot be had.\n"
    "\nExamples:\n"
    "  ndi-simulator --family vega --listen 8765 --strays 3\n"
    "  ndi-simulator --family aurora --pty /tmp/aurora --tool 1:probe --tool 3:reference\n"
    "  ndi-simulator --family vicra --pty /tmp/vicra --fault no-answer@INIT#1 --trace vicra.txt\n";

// Lines short enough to stand beside the option's name.
std::string wrapped(const std::string& text) {
    constexpr std::size_t width = 62;
    std::istringstream words(text);
    std::string result;
    std::string word;
    for (std::size_t column = 0; words >> word; column += word.size() + 1) {
        if (column + word.size() > width) {
            result += '\n';
            column = 0;
        } else if (!result.empty()) {
            result += ' ';
        }
        result += word;
    }
    return result;
}

// An option that may be given again and again; what `parse` refuses is refused in its words.
template <typename Element>
CLI::Option* addRepeatable(CLI::App& app, const char* name, std::vector<Element>& elements,
                           Element (*parse)(std::string_view), const std::string& text,
                           const char* type) {
    const auto take = [&elements, parse](const std::vector<std::string>& texts) {
        std::ranges::transform(texts, std::back_inserter(elements), parse);
    };
    return app.add_option_function<std::vector<std::string>>(name, take, wrapped(text))
        ->allow_extra_args(false)
        ->type_name(type);
}

void addConnection(CLI::App& app, Values& values, SimulatorOptions& options) {
    app.option_defaults()->group("Connection");
    app.add_option("--family", values.family, "vicra, vega or aurora")
        ->required()
        ->check(CLI::IsMember({"vicra", "vega", "aurora"}))
        ->type_name("NAME");
    auto* listen = app.add_option("--listen", values.port,
                                  "Serve TCP on this port of 127.0.0.1; 0 takes a free one")
                       ->check(CLI::Range(0, 65535))
                       ->type_name("PORT");
    app.add_option("--pty", values.link,
                   wrapped("Serve a pseudo-terminal; LINK becomes a link to the end for the host, "
                           "also in the place of one that a killed simulator left behind. "
                           "Like a serial device it hears the host only at its own rate and "
                           "handshake: 9600 without at power-on, then what COMM said"))
        ->type_name("LINK")
        ->excludes(listen);
    app.add_option("--stale-link", values.staleLink,
                   wrapped("With --pty: begin at the link settings of this COMM argument (one to "
                           "five digits), as a crashed host leaves them"))
        ->type_name("CODE");
    app.add_option("--chunk", options.chunk, "Send answers in pieces of N bytes")->type_name("N");
    app.add_option("--chunk-gap", values.chunkGapMs, "Time between two pieces, 1 unless given")
        ->type_name("MS")
        ->check(CLI::Range(0, 10000));
    app.add_flag("--pace", options.isPaced, "Take as long as a serial line of the speed COMM set");
}

void addDevice(CLI::App& app, Values& values, DeviceOptions& device) {
    app.option_defaults()->group("Device");
    addRepeatable(
        app, "--tool", device.tools, parseWiredTool,
        "Aurora: a tool in a physical port, PORT[:TYPE[:PARTNUMBER]]; repeatable. TYPE: " +
            toolTypeNames() +
            ", blank (no readable information), empty (a handle without a tool) or "
            "8 characters of tool information",
        "TOOL");
    app.add_option("--rate", values.rateHz,
                   "Measurements a second, up to 250 (vicra 20, vega 60, aurora 40)")
        ->type_name("HZ");
    app.add_option("--strays", device.strays, "Vicra, vega: stray markers in sight, up to 255")
        ->type_name("N");
    app.add_option("--markers", device.markersPerTool, "Markers of a tool, 4 unless given")
        ->type_name("N");
    app.add_flag("--single-stray", device.hasSingleStray, "Tools report an active stray marker");
    app.add_flag("--infrared", device.hasInfrared, "IRCHK finds a source");
    app.add_option("--handles", device.maxHandles,
                   "Handles for tools without a cable, 24 unless given")
        ->type_name("N");
    addRepeatable(app, "--volume", device.volumes, parseVolume,
                  "A measurement volume, cube:P1,…,P6 or dome:P1,…,P6 in mm; repeatable", "VOLUME");
    app.add_flag("--old-firmware", device.isOldFirmware, "Know VER but not GETINFO");
    app.add_option("--start-state", values.startState, "power-on (default), initialised, tracking")
        ->check(CLI::IsMember(startStates))
        ->type_name("STATE");
}

void addFaults(CLI::App& app, SimulatorOptions& options) {
    app.option_defaults()->group("Faults and record");
    addRepeatable(app, "--tool-state", options.device.toolStates, parseToolState,
                  "A tool that is not well, PLACE:STATE[:FIRST-LAST[/PERIOD]]; "
                  "repeatable. PLACE: the tool's number from 1 or '*'; STATE: missing, "
                  "disabled, out-of-volume; FIRST-LAST: frames, of every PERIOD frames",
                  "RULE");
    addRepeatable(app, "--fault", options.faults, parseFaultRule,
                  "Something that goes wrong, "
                  "KIND[=VALUE][@COMMAND][#N|#N-M|#N-][~PROBABILITY]; repeatable. KIND: " +
                      faultKindNames() +
                      ". COMMAND: a name, the beginning of a command, BREAK, CONNECT or '*' "
                      "(default)",
                  "FAULT");
    app.add_option("--fault-rate", options.faultRate,
                   "Probability that a command goes wrong, in one of --fault-kinds")
        ->check(CLI::Range(0.0, 1.0))
        ->type_name("P");
    addRepeatable(app, "--fault-kinds", options.faultKinds, parseFaultKind,
                  "Kinds for --fault-rate, comma-separated", "KINDS")
        ->delimiter(',');
    app.add_option("--seed", options.seed, "The same seed and commands give the same faults")
        ->type_name("N");
    app.add_option("--trace", options.trace, "Record what was received and sent, line by line")
        ->type_name("FILE");
}

void convert(const Values& values, SimulatorOptions& options) {
    auto& device = options.device;
    device.family = std::ranges::find(allFamilies(), values.family, &FamilyFacts::name)->family;
    device.state = startStates.at(values.startState);
    options.chunkGap = std::chrono::milliseconds(values.chunkGapMs);
    if (values.port < 0 && values.link.empty()) {
        throw UsageError("one of --listen and --pty is required");
    }
    if (!values.staleLink.empty()) {
        if (values.link.empty()) {
            throw UsageError("--stale-link needs --pty");
        }
        device.link = parseLinkSettings(values.staleLink);
    }
    if (values.link.empty()) {
        options.address = TcpAddress{static_cast<std::uint16_t>(values.port)};
    } else {
        options.address = PtyAddress{values.link};
    }
    if (values.rateHz) {
        if (*values.rateHz == 0) {
            throw UsageError("--rate 0: the device would never measure");
        }
        device.rateHz = *values.rateHz;
    }
    options.logLimit = 0;
    checkOptions(device);
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// Unknown words are told first: what is missing is often the one that was mistyped.
std::string faultOf(const CLI::App& app, const CLI::ParseError& error) {
    const auto unknown = app.remaining();
    if (unknown.empty()) {
        return firstLine(error.what());
    }
    const std::string name = unknown.front().substr(0, unknown.front().find('='));
    if (!name.starts_with('-')) {
        return "one argument too many: \"" + unknown.front() + "\"";
    }
    std::vector<std::string> known;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& text : option->get_lnames()) {
            known.push_back("--" + text);
        }
    }
    return "unknown option \"" + name + "\"" + Morvalin::App::suggestion(name, known);
}

} // namespace

std::variant<SimulatorOptions, std::string> readCommandLine(int argc, const char* const* argv) {
    CLI::App app(description, "ndi-simulator");
    app.footer(footer);
    Values values;
    SimulatorOptions options;
    addConnection(app, values, options);
    addDevice(app, values, options.device);
    addFaults(app, options);
    try {
        app.parse(argc, argv);
        convert(values, options);
    } catch (const CLI::CallForHelp&) {
        return app.help();
    } catch (const CLI::ParseError& error) {
        throw UsageError(faultOf(app, error));
    } catch (const std::invalid_argument& error) {
        throw UsageError(error.what());
    }
    return options;
}

} // namespace ndisim

#include "simulator/DeviceOptions.h"

#include "simulator/Texts.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace ndisim {

namespace {

constexpr int maxPort = 24;

struct ToolType {
    std::string_view name;
    std::string_view characters;
    std::string_view partNumber; // the port's two digits follow
};

// A stylus and a wire are told from a probe by their part numbers.
constexpr std::array<ToolType, 11> toolTypes{{
    {"reference", "01000000", "SIM-REF-"},
    {"stylus", "02100000", "SIM-3AAA-"},
    {"wire", "02000000", "SIM-36C3-"},
    {"probe", "02000000", "SIM-PROBE-"},
    {"switch", "03000000", "SIM-SWITCH-"},
    {"microscope", "05000000", "SIM-SCOPE-"},
    {"calibration", "07000000", "SIM-CALIB-"},
    {"strober", "08000000", "SIM-STROBE-"},
    {"c-arm", "0A000000", "SIM-CARM-"},
    {"catheter", "0B000000", "SIM-CATH-"},
    {"other", "04000000", "SIM-OTHER-"},
}};

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

[[noreturn]] void refuse(const std::string& message) {
    throw std::invalid_argument(message);
}

std::string twoDigits(int number) {
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

void applyType(WiredTool& tool, const std::string& type) {
    tool.partNumber = "SIM-TOOL-" + twoDigits(tool.port);
    if (type == "empty") {
        tool.isOccupied = false;
        return;
    }
    if (type == "blank") {
        tool.type = "00000000";
        tool.manufacturer.clear();
        tool.revision = "000";
        tool.serialNumber = "00000000";
        tool.partNumber = " ";
        return;
    }
    const auto known = std::ranges::find(toolTypes, type, &ToolType::name);
    if (known != toolTypes.end()) {
        tool.type = known->characters;
        tool.partNumber = std::string(known->partNumber) + twoDigits(tool.port);
    } else if (type.size() == 8) {
        tool.type = type;
    } else {
        refuse("tool type " + quoted(type) + " is none of " + toolTypeNames() +
               ", blank, empty, nor 8 characters");
    }
}

const std::string_view rateCodes = "01234567A";
constexpr std::array<int, 9> hostBauds{9600,   14400,  19200, 38400, 57600,
                                       115200, 921600, 19200, 230400};

std::uint32_t frameOf(std::string_view text, std::string_view whole) {
    const auto number = parseDecimal(text);
    if (!number) {
        refuse("tool state " + quoted(whole) + ": " + quoted(text) + " is no frame number");
    }
    return *number;
}

// FIRST-LAST[/PERIOD]
void readFrames(ToolStateRule& rule, std::string_view frames, std::string_view whole) {
    const auto slash = frames.find('/');
    if (slash != std::string_view::npos) {
        rule.period = frameOf(frames.substr(slash + 1), whole);
        frames = frames.substr(0, slash);
    }
    const auto dash = frames.find('-');
    if (dash == std::string_view::npos) {
        refuse("tool state " + quoted(whole) +
               ": frames are given as FIRST-LAST or FIRST-LAST/PERIOD");
    }
    rule.first = frameOf(frames.substr(0, dash), whole);
    rule.last = frameOf(frames.substr(dash + 1), whole);
    if (rule.last < rule.first) {
        refuse("tool state " + quoted(whole) + ": the last frame comes before the first");
    }
}

ToolCondition conditionOf(std::string_view name, std::string_view whole) {
    if (name == "missing") {
        return ToolCondition::Missing;
    }
    if (name == "disabled") {
        return ToolCondition::Disabled;
    }
    if (name == "out-of-volume") {
        return ToolCondition::OutOfVolume;
    }
    refuse("tool state " + quoted(whole) + ": " + quoted(name) +
           " is none of missing, disabled, out-of-volume");
}

void check(bool isFine, const std::string& message) {
    if (!isFine) {
        refuse(message);
    }
}

} // namespace

LinkSettings parseLinkSettings(std::string_view digits) {
    LinkSettings link;
    const std::array<char*, 5> fields{&link.rateCode, &link.dataBits, &link.parity, &link.stopBits,
                                      &link.handshake};
    const std::array<std::string_view, 5> allowed{rateCodes, "01", "012", "01", "01"};
    check(!digits.empty() && digits.size() <= fields.size(),
          "link settings " + quoted(digits) + " are not one to five digits");
    for (std::size_t i = 0; i < digits.size(); ++i) {
        check(allowed[i].find(digits[i]) != std::string_view::npos,
              "link settings " + quoted(digits) + ": digit " + std::to_string(i + 1) +
                  " is none of " + std::string(allowed[i]));
        *fields[i] = digits[i];
    }
    return link;
}

int hostBaud(char rateCode) {
    const auto index = rateCodes.find(rateCode);
    return index == std::string_view::npos ? hostBauds[0] : hostBauds[index];
}

std::string toolTypeNames() {
    return namesOf(toolTypes);
}

WiredTool parseWiredTool(std::string_view text) {
    const auto parts = split(text, ':');
    const auto port = parseDecimal(parts[0]);
    check(port && *port >= 1 && *port <= maxPort && parts.size() <= 3,
          "tool " + quoted(text) + " is not PORT[:TYPE[:PARTNUMBER]] with a port from 1 to 24");
    WiredTool tool;
    tool.port = static_cast<int>(*port);
    applyType(tool, parts.size() > 1 ? parts[1] : "probe");
    if (parts.size() > 2) {
        check(!parts[2].empty() && parts[2].size() <= 20,
              "tool " + quoted(text) + ": a part number has 1 to 20 characters");
        tool.partNumber = parts[2];
    }
    return tool;
}

Volume parseVolume(std::string_view text) {
    Volume volume;
    volume.isCube = text.starts_with("cube:");
    const auto numbers = split(text.substr(std::min<std::size_t>(5, text.size())), ',');
    check((volume.isCube || text.starts_with("dome:")) && numbers.size() == 6,
          "volume " + quoted(text) + " is not cube:P1,…,P6 or dome:P1,…,P6");
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto number = parseNumber(numbers[i]);
        check(number && std::abs(*number) <= 9999.99, "volume " + quoted(text) + ": " +
                                                          quoted(numbers[i]) +
                                                          " is no number within 9999.99 mm");
        volume.parameters[i] = *number;
    }
    return volume;
}

bool ToolStateRule::applies(int toolPlace, std::uint32_t frame) const {
    const std::uint32_t counted = period == 0 ? frame : frame % period;
    return (place == 0 || place == toolPlace) && counted >= first && counted <= last;
}

ToolStateRule parseToolState(std::string_view text) {
    const auto parts = split(text, ':');
    check(parts.size() == 2 || parts.size() == 3,
          "tool state " + quoted(text) + " is not PLACE:STATE[:FIRST-LAST[/PERIOD]]");
    ToolStateRule rule;
    if (parts[0] != "*") {
        const auto place = parseDecimal(parts[0]);
        check(place && *place >= 1 && *place <= 255,
              "tool state " + quoted(text) + ": the place is a number from 1 or '*'");
        rule.place = static_cast<int>(*place);
    }
    rule.condition = conditionOf(parts[1], text);
    if (parts.size() == 3) {
        readFrames(rule, parts[2], text);
    }
    return rule;
}

void checkOptions(const DeviceOptions& options) {
    const bool isOptical = factsOf(options.family).isOptical;
    check(options.rateHz == 0 || (options.rateHz > 0 && options.rateHz <= 250),
          "the rate must be above 0 and at most 250 Hz");
    check(options.maxHandles >= 1 && options.maxHandles <= 200,
          "the number of handles must be from 1 to 200");
    check(options.strays <= 255, "at most 255 stray markers can be reported");
    check(options.markersPerTool <= 20, "a tool has at most 20 markers");
    check(options.volumes.size() <= 9, "at most 9 volumes can be listed");
    check(options.strays == 0 || isOptical, "stray markers are seen by vicra and vega only");
    check(options.tools.empty() || !isOptical,
          "tools are plugged into aurora only; vicra and vega get theirs from the host");
    for (const auto& tool : options.tools) {
        check(tool.port >= 1 && tool.port <= maxPort, "a tool's port is from 1 to 24");
        check(1 == std::ranges::count(options.tools, tool.port, &WiredTool::port),
              "port " + std::to_string(tool.port) + " has two tools");
    }
}

} // namespace ndisim

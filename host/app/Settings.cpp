#include "app/Settings.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include <morvalincore/FilePath.h>
#include <morvalincore/Log.h>

#include "app/Refusal.h"
#include "app/Suggestion.h"

namespace Morvalin::App {

namespace {

using Kind = Properties::ValueKind;

/// Whole numbers that a stream takes but does not write before it has been open once, or only for
/// one kind of connection.
constexpr std::string_view lateProperties[] = {"hardwarePort", "maxRange", "measurementRate"};

const Properties::Parameter* findParameter(const Properties& properties, const std::string& key) {
    const auto& all = properties.params();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto& p) { return p.key == key; });
    return found == all.end() ? nullptr : &*found;
}

bool isLate(const std::string& key) {
    return std::find(std::begin(lateProperties), std::end(lateProperties), key) !=
           std::end(lateProperties);
}

[[noreturn]] void refuse(const Setting& setting, const std::string& need) {
    throw Refusal(WrongUsage, "--set " + setting.key + "=" + setting.value + ": must be " + need);
}

/// The value as the host itself reads it from a file.
template <class Value>
Value parse(const Setting& setting, const std::string& need) {
    Properties text;
    text.setParam(setting.key, setting.value);
    Value value{};
    if (!text.param(setting.key, value))
        refuse(setting, need);
    return value;
}

/// The texts that a choice offers, separated by ", "; empty when they are not known.
std::string choices(const Properties::Parameter& parameter) {
    for (const auto& [name, value] : parameter.attributes)
        if (name == "values")
            return value;
    return {};
}

std::int32_t countChoices(const std::string& values) {
    std::int32_t count = 1;
    for (std::size_t at = values.find(", "); at != std::string::npos;
         at = values.find(", ", at + 2))
        ++count;
    return count;
}

void checkChoice(const Setting& setting, std::int32_t index, const std::string& values) {
    const std::int32_t last = countChoices(values) - 1;
    if (index < 0 || index > last)
        refuse(setting, "an index from 0 to " + std::to_string(last) + " into " + values);
}

std::int32_t parseInteger(const Setting& setting, const Properties::Parameter* parameter) {
    const auto value = parse<std::int32_t>(setting, "a whole number");
    if (parameter == nullptr && value < 0)
        refuse(setting, "a whole number, 0 or above");
    if (parameter != nullptr && parameter->type == Properties::choiceParameterType) {
        const std::string values = choices(*parameter);
        if (!values.empty())
            checkChoice(setting, value, values);
    }
    return value;
}

void warnUnknown(const Setting& setting, const std::string& streamName, const Properties& current) {
    if (!Log::isAccepted(Log::Warning))
        return;
    std::vector<std::string> known(std::begin(lateProperties), std::end(lateProperties));
    for (const Properties::Parameter& parameter : current.params())
        known.push_back(parameter.key);
    Log::log(Log::Warning, "Host",
             streamName + " does not know the property \"" + setting.key + "\", passed on" +
                 suggestion(setting.key, known));
}

/// Why a file cannot be read; empty when it can.
std::string readingFault(const std::filesystem::path& path) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        return "is a folder";
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (file && (file.get() != std::ifstream::traits_type::eof() || file.eof()))
        return {};
    return errno == 0 ? "cannot be read" : std::generic_category().message(errno);
}

void applySetting(const Setting& setting, const std::string& streamName, const Properties& current,
                  Properties& target) {
    const Properties::Parameter* const parameter = findParameter(current, setting.key);
    if (parameter == nullptr && !isLate(setting.key)) {
        warnUnknown(setting, streamName, current);
        target.setParam(setting.key, setting.value);
        return;
    }
    const Kind kind = parameter == nullptr ? Kind::Integer : parameter->kind;
    if (kind == Kind::Integer)
        target.setParam(setting.key, parseInteger(setting, parameter));
    else if (kind == Kind::Boolean)
        target.setParam(setting.key, parse<bool>(setting, "true or false"));
    else
        target.setParam(setting.key, setting.value);
}

/// The block of tools is made if need be.
void appendTool(const Tool& tool, Properties& target) {
    constexpr const char* name = "TrackingTargets";
    Properties* const existing = target.subProperties(name);
    Properties& targets = existing == nullptr ? target.addSubProperties(name) : *existing;
    const std::filesystem::path path =
        std::filesystem::absolute(toPath(tool.path)).lexically_normal();
    Properties& block = targets.addSubProperties(toText(path.filename()));
    block.setParam("Path", toText(path));
    block.setParam("Port", tool.port);
}

} // namespace

void applyOptions(const Options& options, const std::string& streamName, const Properties& current,
                  Properties& target) {
    for (const Setting& setting : options.settings)
        applySetting(setting, streamName, current, target);
    for (const Tool& tool : options.tools)
        appendTool(tool, target);
}

void checkToolFiles(const std::vector<Tool>& tools) {
    for (const Tool& tool : tools) {
        const std::string fault = readingFault(toPath(tool.path));
        if (!fault.empty())
            throw Refusal(FileRefused, "tool file " + tool.path + ": " + fault);
    }
}

} // namespace Morvalin::App

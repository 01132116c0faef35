#include "session/SessionOptions.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <boost/algorithm/string/join.hpp>

#include <morvalincore/FilePath.h>
#include <morvalincore/GlobalSettings.h>
#include <morvalincore/LogText.h>
#include <morvalinlib/Workspace.h>

#include "session/PluginKeys.h"
#include "session/Refusal.h"
#include "session/SerialPortNames.h"
#include "session/Suggestion.h"

namespace Morvalin::App {

namespace {

using Kind = Properties::ValueKind;

bool isLate(const std::string& key) {
    const auto& late = PluginKeys::lateNumbers;
    return std::find(std::begin(late), std::end(late), key) != std::end(late);
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

std::int32_t parseInteger(const Setting& setting, const Properties& current) {
    const auto value = parse<std::int32_t>(setting, "a whole number");
    if (!current.hasParam(setting.key) && value < 0)
        refuse(setting, "a whole number, 0 or above");
    const auto choices = current.paramType(setting.key) == Properties::choiceParameterType
                             ? current.choices(setting.key)
                             : std::vector<std::string>();
    if (!choices.empty() && (value < 0 || static_cast<std::size_t>(value) >= choices.size()))
        refuse(setting, "an index from 0 to " + std::to_string(choices.size() - 1) + " into " +
                            boost::algorithm::join(choices, ", "));
    return value;
}

void warnUnknown(const Setting& setting, const std::string& streamName, const Properties& current) {
    std::vector<std::string> known(std::begin(PluginKeys::lateNumbers),
                                   std::end(PluginKeys::lateNumbers));
    for (const Properties::Parameter& parameter : current.params())
        known.push_back(parameter.key);
    logText(Log::Warning, "Host", streamName, " does not know the property \"", setting.key,
            "\", passed on", suggestion(setting.key, known));
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
    const Properties::Parameter* const parameter = current.findParam(setting.key);
    if (parameter == nullptr && !isLate(setting.key)) {
        warnUnknown(setting, streamName, current);
        target.setParam(setting.key, setting.value);
        return;
    }
    const Kind kind = parameter == nullptr ? Kind::Integer : parameter->kind;
    if (kind == Kind::Integer)
        target.setParam(setting.key, parseInteger(setting, current));
    else if (kind == Kind::Boolean)
        target.setParam(setting.key, parse<bool>(setting, "true or false"));
    else
        target.setParam(setting.key, setting.value);
}

/// The block of tools is made if need be.
void appendTool(const Tool& tool, Properties& target) {
    Properties* const existing = target.subProperties(PluginKeys::tools);
    Properties& tools =
        existing == nullptr ? target.addSubProperties(PluginKeys::tools) : *existing;
    const std::filesystem::path path =
        std::filesystem::absolute(toPath(tool.path)).lexically_normal();
    Properties& block = tools.addSubProperties(toText(path.filename()));
    block.setParam(PluginKeys::toolPath, toText(path));
    block.setParam(PluginKeys::toolPort, tool.port);
}

void checkToolFiles(const std::vector<Tool>& tools) {
    for (const Tool& tool : tools) {
        const std::string fault = readingFault(toPath(tool.path));
        if (!fault.empty())
            throw Refusal(FileRefused, "tool file " + tool.path + ": " + fault);
    }
}

/// Before the plug-ins are loaded, because they ask while they are initialised.
void setSerialPorts(const std::vector<SerialPort>& ports) {
    if (ports.empty())
        return;
    GlobalSettings::modify([&](Properties& settings) {
        Properties& block = settings.addSubProperties(PluginKeys::serialPorts);
        for (const SerialPort& port : ports)
            block.setParam(port.name, port.path);
    });
}

} // namespace

void prepare(PluginLoader& loader, const SessionOptions& options) {
    std::string error;
    checkToolFiles(options.tools);
    if (!options.saveFile.empty() && !Workspace::canSave(options.saveFile, error))
        throw Refusal(FileRefused, "workspace " + error);
    setSerialPorts(options.serialPorts);
    for (const std::string& file : options.plugins)
        if (!loader.load(file, error))
            throw Refusal(FileRefused, "plug-in " + error);
    checkSerialPortNames(loader, options.serialPorts);
}

void applyOptions(const SessionOptions& options, const std::string& streamName,
                  const Properties& current, Properties& target) {
    for (const Setting& setting : options.settings)
        applySetting(setting, streamName, current, target);
    for (const Tool& tool : options.tools)
        appendTool(tool, target);
}

} // namespace Morvalin::App

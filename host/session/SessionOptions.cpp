#include "session/SessionOptions.h"

#include <filesystem>

#include <morvalincore/FilePath.h>
#include <morvalincore/GlobalSettings.h>
#include <morvalincore/LogText.h>
#include <morvalinlib/Workspace.h>

#include "session/PluginKeys.h"
#include "session/Refusal.h"
#include "session/SerialPortNames.h"
#include "session/ToolFiles.h"

namespace Morvalin::App {

namespace {

void applySetting(const Setting& setting, const std::string& streamName, const KnownSettings& known,
                  Properties& target) {
    const SettingDescription* const description = known.find(setting.key);
    if (description == nullptr) {
        logText(Log::Warning, "Host", streamName, " does not know the property \"", setting.key,
                "\", passed on", known.suggestionFor(setting.key));
        target.setParam(setting.key, setting.value);
        return;
    }
    const std::string need = needOf(*description, setting.value);
    if (!need.empty())
        throw Refusal(WrongUsage,
                      "--set " + setting.key + "=" + setting.value + ": must be " + need);
    store(*description, setting.value, target);
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
        const std::string fault = toolFault(toPath(tool.path));
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
                  const KnownSettings& known, Properties& target) {
    for (const Setting& setting : options.settings)
        applySetting(setting, streamName, known, target);
    for (const Tool& tool : options.tools)
        appendTool(tool, target);
}

} // namespace Morvalin::App

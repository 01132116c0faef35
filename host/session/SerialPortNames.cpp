#include "session/SerialPortNames.h"

#include <algorithm>
#include <string>

#include "session/Refusal.h"
#include "session/Suggestion.h"

namespace Morvalin::App {

std::vector<const SerialPortReport*> serialPortReports(const PluginLoader& plugins) {
    std::vector<const SerialPortReport*> reports;
    for (const PluginLoader::LoadedPlugin& entry : plugins.plugins())
        if (const auto* const report = dynamic_cast<const SerialPortReport*>(entry.plugin.get()))
            reports.push_back(report);
    return reports;
}

void checkSerialPortNames(const PluginLoader& plugins, const std::vector<SerialPort>& ports) {
    std::vector<std::string> known;
    for (const SerialPortReport* const report : serialPortReports(plugins)) {
        const std::vector<std::string> names = report->serialPortNames();
        known.insert(known.end(), names.begin(), names.end());
    }
    if (known.empty())
        return;
    for (const SerialPort& port : ports) {
        if (std::find(known.begin(), known.end(), port.name) != known.end())
            continue;
        const std::string near = suggestion(port.name, known);
        throw Refusal(
            WrongUsage,
            "--serial-port " + port.name + "=" + port.path + ": \"" + port.name +
                "\" is no serial port name" +
                (near.empty() ? "; they are " + known.front() + " to " + known.back() : near));
    }
}

} // namespace Morvalin::App

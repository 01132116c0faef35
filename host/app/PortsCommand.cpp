#include <string>

#include <morvalincore/ControlCharacters.h>
#include <morvalincore/LogText.h>
#include <morvalincore/SerialPortReport.h>

#include "app/Commands.h"
#include "app/Console.h"
#include "session/Refusal.h"
#include "session/SerialPortNames.h"

namespace Morvalin::App {

namespace {

using Condition = SerialPortReport::Condition;

/// For scripts: these words stay as they are.
const char* conditionWord(Condition condition) {
    switch (condition) {
    case Condition::NotThere:
        return "missing";
    case Condition::Forbidden:
        return "forbidden";
    case Condition::InUse:
        return "in-use";
    case Condition::NotSerial:
        return "not-serial";
    case Condition::Faulty:
        return "faulty";
    case Condition::Free:
        return "free";
    case Condition::Silent:
        return "silent";
    case Condition::Answers:
        return "answers";
    }
    return "";
}

/// Paths and the names of programs may hold anything; here nothing may divide columns or lines.
std::string column(std::string text) {
    replaceControlCharacters(text, ' ');
    return text;
}

std::string line(const SerialPortReport::Port& port) {
    return column(port.name) + '\t' + column(port.path) + '\t' + conditionWord(port.condition) +
           '\t' + column(port.words) + '\n';
}

} // namespace

int listPorts(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    const auto reports = serialPortReports(plugins);
    if (reports.empty())
        logText(Log::Warning, "Host", "No plug-in knows serial ports");
    // One by one: a port that does not answer takes its time.
    for (const SerialPortReport* const report : reports)
        for (const std::string& name : report->serialPortNames())
            print(line(report->inspectSerialPort(name, options.probe)), "the ports");
    return Done;
}

} // namespace Morvalin::App

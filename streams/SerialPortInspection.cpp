#include "streams/SerialPortInspection.h"

#include "protocol/device.h"
#include "protocol/port_condition.h"
#include "streams/DeviceAddress.h"
#include "streams/internal/NdiLog.h"

#include <utility>

namespace Morvalin {
namespace {

using Condition = SerialPortReport::Condition;
using protocol::PortCondition;
using protocol::PortReport;

Condition conditionOf(PortCondition found) {
    switch (found) {
    case PortCondition::free:
        return Condition::Free;
    case PortCondition::forbidden:
        return Condition::Forbidden;
    case PortCondition::inUse:
        return Condition::InUse;
    case PortCondition::notSerial:
        return Condition::NotSerial;
    case PortCondition::faulty:
        return Condition::Faulty;
    case PortCondition::missing:
        break;
    }
    return Condition::NotThere;
}

std::string wordsOf(Condition condition, const std::string& detail) {
    switch (condition) {
    case Condition::NotThere:
        return "not there: plug the adapter in, or let the name stand for another port";
    case Condition::Forbidden:
        if (detail.empty())
            return "no permission: the administrator has to give you access to it";
        return "no permission: join the group " + detail + " (sudo usermod -aG " + detail +
               " YOUR-NAME), then log in again";
    case Condition::InUse:
        return "in use by " + (detail.empty() ? "another program" : detail) +
               ": only one at a time can have it";
    case Condition::NotSerial:
        return "not a serial port: let the name stand for one";
    case Condition::Faulty:
        return "cannot be opened: " + detail;
    case Condition::Free:
        return "free";
    case Condition::Silent:
        return "free, nothing answers: is the device switched on, and this its cable?";
    case Condition::Answers:
        return "free, a measurement system answers";
    }
    return {};
}

bool answers(const std::string& name) {
    return deviceProbePort(name.c_str()) == 0;
}

SerialPortReport::Port describe(const std::string& name, const PortReport& report,
                                Condition condition) {
    return {name, report.path, condition, wordsOf(condition, report.detail)};
}

/// Without asking a device: one that is free did not answer.
SerialPortReport::Port describeUnanswered(const std::string& name) {
    const PortReport report = protocol::platform::inspectPort(name.c_str());
    const Condition found = conditionOf(report.condition);
    return describe(name, report, found == Condition::Free ? Condition::Silent : found);
}

void log(const SerialPortReport::Port& port) {
    const std::string place = port.path == port.name ? "" : " (" + port.path + ")";
    logNdi(Log::Information, port.name, place, ": ", port.words);
}

} // namespace

SerialPortReport::Port inspectSerialPort(const std::string& name, bool probes) {
    const PortReport report = protocol::platform::inspectPort(name.c_str());
    Condition condition = conditionOf(report.condition);
    if (probes && condition == Condition::Free)
        condition = answers(name) ? Condition::Answers : Condition::Silent;
    return describe(name, report, condition);
}

void explainSerialPort(const std::string& name, bool hasAnswered) noexcept {
    try {
        if (Log::isAccepted(Log::Information))
            log(hasAnswered ? inspectSerialPort(name, false) : describeUnanswered(name));
    } catch (...) {
        // Short of memory, the line is lost; what it explains has been told.
    }
}

void explainSerialPorts() noexcept {
    try {
        if (!Log::isAccepted(Log::Information))
            return;
        bool isAnyThere = false;
        for (int index = 0; index < serialPortCount; ++index) {
            const SerialPortReport::Port port = describeUnanswered(serialPortName(index));
            if (port.condition == Condition::NotThere)
                continue;
            isAnyThere = true;
            log(port);
        }
        if (!isAnyThere)
            logNdi(Log::Information, "None of the serial ports ", serialPortName(0), " to ",
                   serialPortName(serialPortCount - 1), " is there");
    } catch (...) {
    }
}

} // namespace Morvalin

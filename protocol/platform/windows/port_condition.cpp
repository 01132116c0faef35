#include "protocol/port_condition.h"

#include "protocol/platform/windows/system_headers.h"

#include <system_error>

namespace protocol::platform {
namespace {

// Which program has a port the system does not tell.
PortReport refused(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
        return {PortCondition::missing, {}, {}};
    case ERROR_ACCESS_DENIED: // ports have no owners: somebody has it
    case ERROR_SHARING_VIOLATION:
        return {PortCondition::inUse, {}, {}};
    default:
        return {PortCondition::faulty, {}, std::system_category().message(static_cast<int>(error))};
    }
}

PortReport inspectOpened(const char* name) {
    const HANDLE port = CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (port == INVALID_HANDLE_VALUE) {
        return refused(GetLastError());
    }
    DCB line = {};
    line.DCBlength = sizeof(line);
    const bool isSerial = GetCommState(port, &line) != 0;
    CloseHandle(port);
    return {isSerial ? PortCondition::free : PortCondition::notSerial, {}, {}};
}

} // namespace

PortReport inspectPort(const char* name) {
    PortReport report = inspectOpened(name);
    report.path = name;
    return report;
}

} // namespace protocol::platform

#pragma once

#include "protocol/transport.h"
#include "tests/protocol/RecordPtr.h"

#include <cstdlib>

// The measurement system that with_device.py has started for this program.
namespace testdevice {

inline std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

inline std::uint16_t tcpPort() {
    return static_cast<std::uint16_t>(std::atoi(environment("MORVALIN_TEST_PORT").c_str()));
}

inline std::string comName() {
    return environment("MORVALIN_TEST_COM");
}

inline RecordPtr openNetwork(int timeoutMs = 20000) {
    RecordPtr device(deviceOpenNetwork("127.0.0.1", tcpPort()));
    if (device) {
        deviceSetNetworkTimeout(device.get(), timeoutMs);
    }
    return device;
}

// Wine ends every read of a port with its time-out, so a short one keeps the tests short.
inline RecordPtr openSerial() {
    RecordPtr device(deviceOpenSerial(comName().c_str()));
    if (device) {
        serialSetTimeout(device->serialPort, 400);
    }
    return device;
}

// The reply of a command that must succeed; what went wrong instead of it when it did not.
inline std::string ask(DeviceRecord& device, const char* command) {
    const std::string reply = deviceCommand(&device, "%s", command);
    const int error = deviceGetError(&device);
    return error == 0 ? reply : std::string(command) + ": " + deviceErrorText(error);
}

} // namespace testdevice

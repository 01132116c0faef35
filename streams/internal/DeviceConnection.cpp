#include "streams/internal/DeviceConnection.h"

#include "protocol/device.h"
#include "streams/internal/DeviceAddress.h"
#include "streams/internal/Diagnosis.h"
#include "streams/internal/LogText.h"

#include <boost/thread/lock_guard.hpp>

#include <limits>

namespace Morvalin {
namespace {

constexpr int initializationTimeoutMs = 5000;
constexpr int operationTimeoutMs = 100;

using ConnectionType = NDIConnectionData::ConnectionType;

DeviceRecord* openNetwork(const std::string& host, std::int32_t port) {
    if (port < 0 || port > std::numeric_limits<std::uint16_t>::max())
        return nullptr;
    return deviceOpenNetwork(host.c_str(), static_cast<std::uint16_t>(port));
}

void logInvalidAddress() {
    logNdi(Log::Error, "Invalid Ip address or COM port!");
}

/// 8 data bits, no parity, 1 stop bit.
void setLinkSpeed(DeviceRecord* device, std::int32_t code, bool handshake) {
    deviceCommand(device, "COMM:%d%03d%d", code, 0, handshake ? 1 : 0);
}

bool findSerialDevice(const std::function<bool()>& search) {
    logNdi(Log::Detail, "Searching for tracking devices...");
    if (search())
        return true;
    logNdi(Log::Error, "No NDI tracking system found!");
    return false;
}

bool probe(const NDIConnectionData& connection, const std::string& portName) {
    const int code = deviceProbePort(portName.c_str());
    traceNote(connection, "probed ", portName, ": code ", code);
    return code == 0;
}

bool answersProbe(const NDIConnectionData& connection, const std::string& portName) {
    if (probe(connection, portName))
        return true;
    logNdi(Log::Error, "Failed to probe device!");
    return false;
}

} // namespace

std::optional<std::string> connectNetworkDevice(NDIConnectionData& connection) {
    std::string address = connection.hardwareDevice.value();
    if (holdsNetworkAddress(address)) {
        const std::int32_t port = connection.hardwareIPPort;
        logNdi(Log::Information, "Connecting to ", address, ":", port, " via IP...");
        connection.device = openNetwork(address, port);
        return address;
    }
    if (!asksForSearch(address) && !isSerialPortName(address)) {
        logInvalidAddress();
        return address;
    }
    logNdi(Log::Error, "Serial is only supported for PolarisSerial and Aurora. Polaris Vega Aurora "
                       "use TCP/IP communication. Please specify the device TCP address and port "
                       "in the GUI");
    return std::nullopt;
}

std::optional<std::string> connectSerialDevice(NDIConnectionData& connection,
                                               const std::function<bool()>& search) {
    std::string address = connection.hardwareDevice.value();
    if (holdsNetworkAddress(address)) {
        logNdi(Log::Error, "TCP/IP connection is only supported for PolarisVega. Polaris Serial "
                           "and Polaris Aurora use serial connection. Please specify the serial "
                           "port in the GUI");
        return std::nullopt;
    }
    if (asksForSearch(address)) {
        if (!findSerialDevice(search))
            return std::nullopt;
        address = connection.hardwareDevice.value();
    } else if (!isSerialPortName(address)) {
        logInvalidAddress();
        return address;
    } else if (!answersProbe(connection, address)) {
        return std::nullopt;
    }
    logNdi(Log::Information, "Connecting to ", address, " as serial device...");
    connection.device = deviceOpenSerial(address.c_str());
    return address;
}

bool searchSerialPorts(NDIConnectionData& connection) {
    for (int index = 0; index < serialPortCount; ++index) {
        const std::string name = serialPortName(index);
        if (!probe(connection, name))
            continue;
        connection.hardwareDevice.assign(name);
        return true;
    }
    return false;
}

bool initializeDevice(NDIConnectionData& connection, const std::string& address, void* stream) {
    DeviceRecord* const device = connection.device;
    traceNote(connection, "opened ", address, device == nullptr ? ": failed" : "");
    if (device == nullptr) {
        logNdi(Log::Error, "Connection could not be established!");
        return false;
    }
    logNdi(Log::Information, "Connection established at ", address, ". Using ",
           connection.binaryQueryMode ? "binary" : "text", " mode.");
    deviceSetErrorCallback(device, logDeviceError, stream);
    traceDevice(connection);
    const bool isSerial = connection.connectionType == ConnectionType::Serial;
    if (isSerial) {
        const std::int32_t rate = connection.measurementRate;
        logNdi(Log::Detail, "Setting measurement rate to ", rate, "...");
        setLinkSpeed(device, rate, true);
    } else {
        deviceSetNetworkTimeout(device, initializationTimeoutMs);
    }
    logNdi(Log::Detail, "Initializing device...");
    deviceCommand(device, "INIT:");
    logNdi(Log::Detail, "Device initialized.");
    if (!isSerial)
        deviceSetNetworkTimeout(device, operationTimeoutMs);
    return true;
}

void releaseDevice(NDIConnectionData& connection) {
    const boost::lock_guard<std::mutex> lock(connection.releaseLock);
    if (connection.device == nullptr)
        return;
    if (connection.connectionType == ConnectionType::Serial) {
        setLinkSpeed(connection.device, 0, false);
        deviceCloseSerial(connection.device);
    } else {
        deviceCloseNetwork(connection.device);
    }
    connection.device = nullptr;
    traceNote(connection, "closed");
}

void logDeviceError(std::int32_t code, const char* text, void* stream) {
    const char* const origin = stream != nullptr
                                   ? "NDI Tracking System Error: "
                                   : "NDI Error occurred outside of PolarisAuroraTrackingStream: ";
    logNdi(Log::Error, origin, code, " ", text);
}

} // namespace Morvalin

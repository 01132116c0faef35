#include "streams/internal/DeviceConnection.h"

#include "streams/DeviceAddress.h"
#include "streams/SerialPortInspection.h"
#include "streams/internal/NdiLog.h"
#include "streams/internal/OpenDevice.h"

#include <boost/thread/lock_guard.hpp>

#include <chrono>
#include <utility>

namespace Morvalin {
namespace {

/// Adds a remark to the trace. Nothing is built when nobody traces.
template <class... Pieces>
void traceNote(const NDIConnectionData& connection, const Pieces&... pieces) {
    if (!connection.traceSink)
        return;
    std::string text;
    (appendPiece(text, pieces), ...);
    connection.traceSink(Diagnosable::Traffic::Note, text);
}

Diagnosable::Traffic kindOf(DeviceTraffic traffic) {
    switch (traffic) {
    case DeviceTraffic::sent:
        return Diagnosable::Traffic::Sent;
    case DeviceTraffic::dropped:
        return Diagnosable::Traffic::Dropped;
    default:
        return Diagnosable::Traffic::Received;
    }
}

void passOn(DeviceTraffic traffic, const char* bytes, int length, void* connection) {
    static_cast<const NDIConnectionData*>(connection)
        ->traceSink(kindOf(traffic), {bytes, static_cast<std::size_t>(length)});
}

constexpr int initializationTimeoutMs = 5000;
constexpr int operationTimeoutMs = 100;

using ConnectionType = NDIConnectionData::ConnectionType;

// What silence costs. A probe has two waits of 7 s; over TCP, a command may first wait for the
// answer to the one before it.
constexpr std::chrono::seconds connectLimit{21};
constexpr std::chrono::seconds probeLimit{15};
constexpr std::chrono::seconds serialAnswerLimit{5};
constexpr std::chrono::seconds networkAnswerLimit{1};
constexpr std::chrono::seconds initializationLimit{initializationTimeoutMs / 1000};

std::chrono::seconds limitOf(const NDIConnectionData& connection, std::size_t answers) {
    const auto count = static_cast<int>(answers);
    return connection.connectionType == ConnectionType::Serial
               ? serialAnswerLimit * count
               : networkAnswerLimit * count + initializationLimit;
}

std::string placeOf(const NDIConnectionData& connection, const std::string& address) {
    return connection.connectionType == ConnectionType::Serial
               ? address
               : address + ":" + std::to_string(connection.hardwareIPPort);
}

void logInvalidAddress() {
    logNdi(Log::Error, "Invalid Ip address or COM port!");
}

bool probe(const NDIConnectionData& connection, const std::string& portName) {
    const int code = deviceProbePort(portName.c_str());
    traceNote(connection, "probed ", portName, ": code ", code);
    return code == 0;
}

bool answersProbe(NDIConnectionData& connection, const std::string& portName) {
    connection.waiting.assign({portName, probeLimit});
    if (probe(connection, portName))
        return true;
    logNdi(Log::Error, "Failed to probe device!");
    explainSerialPort(portName, false);
    return false;
}

std::optional<std::string> findSerialDevice(NDIConnectionData& connection) {
    logNdi(Log::Detail, "Searching for tracking devices...");
    std::optional<std::string> found = searchSerialPorts(connection);
    if (!found) {
        logNdi(Log::Error, "No NDI tracking system found!");
        explainSerialPorts();
    }
    return found;
}

} // namespace

NDIConnectionData::NDIConnectionData(ConnectionType type, std::string address) :
    hardwareDevice(std::move(address)), connectionType(type) {}

NDIConnectionData::~NDIConnectionData() {
    releaseDevice(*this);
}

std::optional<std::string> connectNetworkDevice(NDIConnectionData& connection) {
    std::string address = connection.hardwareDevice.value();
    if (holdsNetworkAddress(address)) {
        const std::int32_t port = connection.hardwareIPPort;
        logNdi(Log::Information, "Connecting to ", address, ":", port, " via IP...");
        connection.waiting.assign({placeOf(connection, address), connectLimit});
        connection.device = OpenDevice::overNetwork(address, port);
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

std::optional<std::string> connectSerialDevice(NDIConnectionData& connection) {
    std::string address = connection.hardwareDevice.value();
    if (holdsNetworkAddress(address)) {
        logNdi(Log::Error, "TCP/IP connection is only supported for PolarisVega. Polaris Serial "
                           "and Polaris Aurora use serial connection. Please specify the serial "
                           "port in the GUI");
        return std::nullopt;
    }
    if (asksForSearch(address)) {
        // The stored name may have been set to another one meanwhile.
        const std::optional<std::string> found = findSerialDevice(connection);
        if (!found)
            return std::nullopt;
        address = *found;
    } else if (!isSerialPortName(address)) {
        logInvalidAddress();
        return address;
    } else if (!answersProbe(connection, address)) {
        return std::nullopt;
    }
    logNdi(Log::Information, "Connecting to ", address, " as serial device...");
    connection.device = OpenDevice::overSerialLine(address);
    return address;
}

std::optional<std::string> searchSerialPorts(NDIConnectionData& connection) {
    for (int index = 0; index < serialPortCount; ++index) {
        const std::string name = serialPortName(index);
        const std::string count =
            std::to_string(index + 1) + " of " + std::to_string(serialPortCount);
        connection.waiting.assign(
            {name + ", serial port " + count, probeLimit * (serialPortCount - index)});
        if (!probe(connection, name))
            continue;
        connection.hardwareDevice.assign(name);
        return name;
    }
    return std::nullopt;
}

void awaitAnswers(NDIConnectionData& connection, const std::string& address, std::size_t count) {
    connection.waiting.assign({placeOf(connection, address), limitOf(connection, count)});
}

/// A measurement, the end of tracking, and the link's speed.
void awaitEnd(NDIConnectionData& connection, const std::string& address) {
    const bool isSerial = connection.connectionType == ConnectionType::Serial;
    connection.waiting.assign(
        {placeOf(connection, address), isSerial ? 3 * serialAnswerLimit : 2 * networkAnswerLimit});
}

bool initializeDevice(NDIConnectionData& connection, const std::string& address, void* stream) {
    OpenDevice* const device = connection.device.get();
    traceNote(connection, "opened ", address, device == nullptr ? ": failed" : "");
    if (device == nullptr) {
        logNdi(Log::Error, "Connection could not be established!");
        if (isSerialPortName(address))
            explainSerialPort(address, true);
        return false;
    }
    logNdi(Log::Information, "Connection established at ", address, ". Using ",
           connection.binaryQueryMode ? "binary" : "text", " mode.");
    deviceSetErrorCallback(device->record(), logDeviceError, stream);
    traceDevice(connection);
    const bool isSerial = connection.connectionType == ConnectionType::Serial;
    if (isSerial) {
        const std::int32_t rate = connection.measurementRate;
        logNdi(Log::Detail, "Setting measurement rate to ", rate, "...");
        device->setLinkSpeed(rate, true);
    } else {
        deviceSetNetworkTimeout(device->record(), initializationTimeoutMs);
    }
    logNdi(Log::Detail, "Initializing device...");
    device->command("INIT:");
    logNdi(Log::Detail, "Device initialized.");
    if (!isSerial)
        deviceSetNetworkTimeout(device->record(), operationTimeoutMs);
    return true;
}

void releaseDevice(NDIConnectionData& connection) {
    const boost::lock_guard<std::mutex> lock(connection.releaseLock);
    if (connection.device == nullptr)
        return;
    connection.device.reset();
    traceNote(connection, "closed");
}

void logDeviceError(std::int32_t code, const char* text, void* stream) {
    const char* const origin = stream != nullptr
                                   ? "NDI Tracking System Error: "
                                   : "NDI Error occurred outside of PolarisAuroraTrackingStream: ";
    logNdi(Log::Error, origin, code, " ", text);
}

// ---- What a connection tells for a report

std::string dumpDevice(const NDIConnectionData& connection) {
    const boost::lock_guard<std::mutex> lock(connection.releaseLock);
    if (connection.device == nullptr)
        return {};
    std::string text(deviceDumpState(connection.device->record(), nullptr, 0) + 1, '\0');
    text.resize(deviceDumpState(connection.device->record(), text.data(), text.size()));
    return text;
}

void traceDevice(NDIConnectionData& connection) {
    deviceSetTraceCallback(connection.device->record(), connection.traceSink ? passOn : nullptr,
                           &connection);
}

void traceTo(NDIConnectionData& connection, Diagnosable::TraceSink& sink) {
    const boost::lock_guard<std::mutex> lock(connection.releaseLock); // what closes shows it, too
    connection.traceSink.swap(sink);
    if (connection.device != nullptr)
        traceDevice(connection);
}

} // namespace Morvalin

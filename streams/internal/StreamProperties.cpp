#include "streams/internal/StreamProperties.h"

#include "streams/DeviceAddress.h"

#include <morvalincore/Properties.h>

#include <utility>

namespace Morvalin {
namespace {

using ConnectionType = NDIConnectionData::ConnectionType;

constexpr const char* addressKey = "hardwareDevice";
constexpr const char* portKey = "hardwarePort";
constexpr const char* rateKey = "measurementRate";
constexpr const char* binaryKey = "binaryQueryMode";
constexpr const char* targetsKey = "TrackingTargets";

bool isUsable(const std::string& address, ConnectionType type) {
    if (type == ConnectionType::Serial)
        return asksForSearch(address) || isSerialPortName(address);
    return isNetworkAddress(address);
}

std::string usableAddress(NDIConnectionData& connection) {
    return connection.hardwareDevice.access([&](std::string& address) {
        if (!isUsable(address, connection.connectionType))
            address.clear();
        return address;
    });
}

} // namespace

std::string joinOptions(const std::vector<std::string>& options) {
    std::string joined;
    for (const std::string& option : options)
        joined += option + ", ";
    return joined.substr(0, joined.empty() ? 0 : joined.size() - 2);
}

void writeConnection(Properties& properties, NDIConnectionData& connection,
                     const std::vector<std::string>& measurementRateOptions) {
    properties.setParam(addressKey, usableAddress(connection));
    if (connection.connectionType == ConnectionType::Serial) {
        properties.setParamAttribute(addressKey, "label", "COM port");
        properties.setParamAttribute(addressKey, "tooltip", "Auto-detect COM port upon open");
        properties.setParam(rateKey, connection.measurementRate.load());
        properties.setParamType(rateKey, Properties::choiceParameterType);
        properties.setParamAttribute(rateKey, "values", joinOptions(measurementRateOptions));
    } else {
        properties.setParam(portKey, connection.hardwareIPPort.load());
        properties.setParamAttribute(addressKey, "label", "IP address");
    }
    properties.setParam(binaryKey, connection.binaryQueryMode.load());
}

void readConnection(const Properties& properties, NDIConnectionData& connection) {
    std::string address;
    if (properties.param(addressKey, address))
        connection.hardwareDevice.assign(address);
    std::int32_t port = 0;
    if (properties.param(portKey, port))
        connection.hardwareIPPort = port;
    bool binary = false;
    if (properties.param(binaryKey, binary))
        connection.binaryQueryMode = binary;
}

void writeTargets(Properties& properties, const std::vector<NDITrackingInstrumentInfo>& tools) {
    Properties* const written = properties.subProperties(targetsKey);
    Properties& targets = written != nullptr ? *written : properties.addSubProperties(targetsKey);
    targets.clear();
    targets.setAttribute("hidden", "true");
    for (const NDITrackingInstrumentInfo& tool : tools) {
        Properties& target = targets.addSubProperties(tool.name);
        target.setParam("Path", tool.romFile);
        target.setParam("Port", tool.port);
    }
}

std::optional<std::vector<NDITrackingInstrumentInfo>> readTargets(const Properties& properties) {
    const Properties* const targets = properties.subProperties(targetsKey);
    if (targets == nullptr)
        return std::nullopt;
    std::vector<NDITrackingInstrumentInfo> tools;
    for (const Properties& target : targets->children()) {
        NDITrackingInstrumentInfo tool;
        tool.name = target.name();
        target.param("Port", tool.port);
        if (target.param("Path", tool.romFile))
            tools.push_back(std::move(tool));
    }
    return tools;
}

} // namespace Morvalin

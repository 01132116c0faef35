#include "streams/internal/StreamProperties.h"

#include "streams/DeviceAddress.h"

#include <morvalincore/Properties.h>

#include <utility>

namespace Morvalin {
namespace {

using ConnectionType = NDIConnectionData::ConnectionType;

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
    properties.setParam(StreamKeys::address, usableAddress(connection));
    if (connection.connectionType == ConnectionType::Serial) {
        properties.setParamAttribute(StreamKeys::address, "label", "COM port");
        properties.setParamAttribute(StreamKeys::address, "tooltip",
                                     "Auto-detect COM port upon open");
        properties.setParam(StreamKeys::rate, connection.measurementRate.load());
        properties.setParamType(StreamKeys::rate, Properties::choiceParameterType);
        properties.setParamAttribute(StreamKeys::rate, "values",
                                     joinOptions(measurementRateOptions));
    } else {
        properties.setParam(StreamKeys::port, connection.hardwareIPPort.load());
        properties.setParamAttribute(StreamKeys::address, "label", "IP address");
    }
    properties.setParam(StreamKeys::binary, connection.binaryQueryMode.load());
}

void readConnection(const Properties& properties, NDIConnectionData& connection) {
    std::string address;
    if (properties.param(StreamKeys::address, address))
        connection.hardwareDevice.assign(address);
    std::int32_t port = 0;
    if (properties.param(StreamKeys::port, port))
        connection.hardwareIPPort = port;
    bool binary = false;
    if (properties.param(StreamKeys::binary, binary))
        connection.binaryQueryMode = binary;
}

void writeTargets(Properties& properties, const std::vector<NDITrackingInstrumentInfo>& tools) {
    Properties* const written = properties.subProperties(StreamKeys::tools);
    Properties& targets =
        written != nullptr ? *written : properties.addSubProperties(StreamKeys::tools);
    targets.clear();
    targets.setAttribute("hidden", "true");
    for (const NDITrackingInstrumentInfo& tool : tools) {
        Properties& target = targets.addSubProperties(tool.name);
        target.setParam(StreamKeys::toolPath, tool.romFile);
        target.setParam(StreamKeys::toolPort, tool.port);
    }
}

std::optional<std::vector<NDITrackingInstrumentInfo>> readTargets(const Properties& properties) {
    const Properties* const targets = properties.subProperties(StreamKeys::tools);
    if (targets == nullptr)
        return std::nullopt;
    std::vector<NDITrackingInstrumentInfo> tools;
    for (const Properties& target : targets->children()) {
        NDITrackingInstrumentInfo tool;
        tool.name = target.name();
        target.param(StreamKeys::toolPort, tool.port);
        if (target.param(StreamKeys::toolPath, tool.romFile))
            tools.push_back(std::move(tool));
    }
    return tools;
}

} // namespace Morvalin

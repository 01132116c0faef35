#include "streams/internal/ConnectionProperties.h"

#include "streams/internal/DeviceAddress.h"
#include "streams/internal/JoinOptions.h"

#include <morvalincore/Properties.h>

namespace Morvalin {
namespace {

using ConnectionType = NDIConnectionData::ConnectionType;

constexpr const char* addressKey = "hardwareDevice";
constexpr const char* portKey = "hardwarePort";
constexpr const char* rateKey = "measurementRate";
constexpr const char* binaryKey = "binaryQueryMode";

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

} // namespace Morvalin

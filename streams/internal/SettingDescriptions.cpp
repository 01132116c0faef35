#include "streams/internal/SettingDescriptions.h"

#include "streams/internal/StreamProperties.h"

#include <morvalincore/Properties.h>

namespace Morvalin {
namespace {

using Kind = SettingDescription::Kind;
using ConnectionType = NDIConnectionData::ConnectionType;

/// Older workspaces have the settings of both kinds of connection.
void describeConnection(const NDIConnectionData& fresh, const std::vector<std::string>& rates,
                        std::vector<SettingDescription>& settings) {
    const bool isSerial = fresh.connectionType == ConnectionType::Serial;
    settings.push_back(
        {StreamKeys::address,
         Kind::Text,
         fresh.hardwareDevice.value(),
         {},
         isSerial
             ? R"(serial port: COM1 to COM9, \\.\COM10 to \\.\COM20; "auto" or nothing: any of them)"
             : "IPv4 address of the device"});
    settings.push_back({StreamKeys::port,
                        Kind::Integer,
                        std::to_string(fresh.hardwareIPPort),
                        {},
                        isSerial ? "TCP port; not used by this family" : "TCP port of the device"});
    settings.push_back({StreamKeys::rate, Kind::Choice, std::to_string(fresh.measurementRate),
                        rates,
                        isSerial ? "speed of the serial link in baud"
                                 : "speed of a serial link; not used by this family"});
    settings.push_back({StreamKeys::binary,
                        Kind::Boolean,
                        fresh.binaryQueryMode ? "true" : "false",
                        {},
                        "asks for measurements in binary form: faster and finer than text"});
    settings.push_back({StreamKeys::range,
                        Kind::Choice,
                        std::to_string(fresh.maxRange),
                        {},
                        "operating volume, in the order in which the device lists them"});
}

void describeTools(std::vector<SettingDescription>& settings) {
    settings.push_back(
        {StreamKeys::mainInstrument,
         Kind::Text,
         "",
         {},
         "id of the main instrument, whose new measurement makes a frame; empty: the first one"});
    settings.push_back(
        {StreamKeys::toolPath, Kind::Text, "", {}, "tool definition file", StreamKeys::tools});
    settings.push_back({StreamKeys::toolPort,
                        Kind::Integer,
                        std::to_string(NDITrackingInstrumentInfo{}.port),
                        {},
                        "physical port of the tool, counted from 1; of no account to optical tools",
                        StreamKeys::tools});
}

} // namespace

std::vector<SettingDescription>
describeStreamSettings(const NDIConnectionData& fresh,
                       const std::vector<std::string>& measurementRateOptions) {
    std::vector<SettingDescription> settings;
    describeConnection(fresh, measurementRateOptions, settings);
    describeTools(settings);
    settings.push_back({"systemType",
                        Kind::Text,
                        "",
                        {},
                        "of older versions: the family, now part of the algorithm's id; ignored"});
    for (const char* const removed : StreamKeys::removed)
        settings.push_back({removed, Kind::Text, "", {}, "of older versions; ignored"});
    return settings;
}

} // namespace Morvalin

#include "streams/internal/DeviceConnection.h"

#include "streams/internal/NdiLog.h"
#include "streams/internal/OpenDevice.h"

#include <algorithm>
#include <charconv>
#include <locale>
#include <sstream>
#include <string_view>

namespace Morvalin {
namespace {

// A record: the shape, then six numbers of a sign and six digits each, in 1/100 mm; the rest is
// not used.
constexpr std::size_t recordLength = 74;
constexpr std::size_t parameterLength = 7;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

double parseParameter(std::string_view field) {
    const std::string_view digits = field.substr(1);
    if (!std::all_of(digits.begin(), digits.end(), isDigit))
        return 0.0;
    int magnitude = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    return (field.front() == '+' ? magnitude : -magnitude) / 100.0;
}

std::string describe(const NDIOperatingVolume& volume) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << (volume.isCube ? "Cube " : "Dome ");
    const char* separator = "";
    for (const double parameter : volume.parameters) {
        text << separator << parameter;
        separator = "/";
    }
    return text.str();
}

NDIOperatingVolume parseVolume(std::string_view record) {
    NDIOperatingVolume volume;
    volume.isCube = record.front() == '9';
    for (std::size_t k = 0; k < volume.parameters.size(); ++k)
        volume.parameters[k] =
            parseParameter(record.substr(1 + parameterLength * k, parameterLength));
    volume.text = describe(volume);
    return volume;
}

/// False when the reply ends before its last record.
bool parseRecords(std::string_view reply, std::vector<NDIOperatingVolume>& volumes) {
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        // The count's digit in front is left out of this sum, so the last record may lack its last
        // character. That one is not used.
        if (reply.size() < recordLength * (i + 1)) {
            logNdi(Log::Error, "PolarisAuroraTrackingStream: query of operating volume ", i,
                   " failed");
            return false;
        }
        volumes[i] = parseVolume(reply.substr(1 + recordLength * i, recordLength));
    }
    return true;
}

} // namespace

void queryDeviceVolumes(NDIConnectionData& connection) {
    OpenDevice& device = *connection.device;
    device.command("SFLIST:%02X", 3U);
    const std::string_view reply = device.reply();
    // ':' follows '9' and passes for ten.
    if (reply.empty() || reply.front() < '0' || reply.front() > ':') {
        logNdi(Log::Error, "PolarisAuroraTrackingStream: query of operating volumes failed");
        return;
    }
    std::vector<NDIOperatingVolume>& volumes = connection.operatingVolumes;
    volumes.resize(static_cast<std::size_t>(reply.front() - '0'));
    if (volumes.empty())
        return;
    if (!parseRecords(reply, volumes)) {
        volumes.clear();
        return;
    }
    device.command("VSEL:%lld", static_cast<long long>(connection.maxRange.load()) + 1);
}

} // namespace Morvalin

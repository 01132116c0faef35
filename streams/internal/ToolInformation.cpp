#include "streams/internal/ToolInformation.h"

#include "protocol/device.h"

#include <array>

namespace Morvalin {
namespace {

constexpr std::string_view unreadableInformation = "00000000            00000000000";

struct TypeRule {
    std::string_view informationPrefix;
    std::string_view partOfPartNumber;
    const char* type;
};

/// The first rule that fits counts.
constexpr TypeRule typeRules[] = {
    {"01", "", "Reference"},
    {"021", "3AAA", "Stylus"},
    {"02", "36C3", "Wire"},
    {"02", "", "Probe"},
    {"03", "", "Switch"},
    {"05", "", "Microscope"},
    {"07", "", "Calibration Device"},
    {"08", "", "Strober"},
    {"0A", "", "C-Arm"},
    {"0B", "", "Catheter"},
};

const char* typeName(std::string_view information, std::string_view partNumber) {
    for (const TypeRule& rule : typeRules)
        if (information.starts_with(rule.informationPrefix) &&
            partNumber.find(rule.partOfPartNumber) != std::string_view::npos)
            return rule.type;
    return "Unknown";
}

/// A fixed-width text of the device, which is terminated only when it is shorter.
template <std::size_t Width>
std::string_view text(const std::array<char, Width>& field) {
    const std::string_view whole(field.data(), field.size());
    return whole.substr(0, whole.find('\0'));
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

} // namespace

ToolInformation readToolInformation(const DeviceRecord* device) {
    std::array<char, 31> information{};
    std::array<char, 20> partNumber{};
    std::array<char, 14> location{};
    devicePhinfBasic(device, information.data());
    devicePhinfPartNumber(device, partNumber.data());
    devicePhinfPortLocation(device, location.data());

    const bool isReadable = text(information) != unreadableInformation;
    ToolInformation result;
    result.name = isReadable ? trimmed(text(information)) : text(location);
    result.partNumber = trimmed(text(partNumber));
    result.type = typeName(text(information), result.partNumber);
    return result;
}

int physicalPort(std::string_view portLocation) {
    if (portLocation.size() < 12 || !isDigit(portLocation[10]) || !isDigit(portLocation[11]))
        return 0;
    return 10 * (portLocation[10] - '0') + (portLocation[11] - '0');
}

} // namespace Morvalin

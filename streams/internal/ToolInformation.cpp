#include "streams/internal/ToolInformation.h"

#include "streams/internal/OpenDevice.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Morvalin {
namespace {

constexpr unsigned portLocationQuery = 0x0020;
constexpr unsigned toolQuery = 0x0025; // tool information, part number, port location

// Where the three end in the answer.
constexpr std::size_t informationEnd = 33;
constexpr std::size_t partNumberEnd = 53;
constexpr std::size_t locationEnd = 67;

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

/// How much of the answer is in the record's texts. What it lacks keeps the text of another tool
/// there. They take it up to the first character that is none.
std::size_t lengthInRecord(std::string_view answer) {
    if (answer.starts_with('U'))
        return locationEnd; // unoccupied: the texts are made up
    const auto isText = [](unsigned char character) {
        return character >= 0x20 && character < 0x80;
    };
    return static_cast<std::size_t>(std::find_if_not(answer.begin(), answer.end(), isText) -
                                    answer.begin());
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

ToolInformation readToolInformation(OpenDevice& device, std::int32_t portHandle) {
    if (!device.command("PHINF:%02X%04X", static_cast<unsigned>(portHandle), toolQuery))
        return {};
    const std::size_t length = lengthInRecord(device.reply());
    const auto text = [length](const auto& field, std::size_t end) {
        return std::string_view(field.data(), length >= end ? field.size() : 0);
    };
    std::array<char, 31> basic{};
    std::array<char, 20> number{};
    std::array<char, 14> port{};
    devicePhinfBasic(device.record(), basic.data());
    devicePhinfPartNumber(device.record(), number.data());
    devicePhinfPortLocation(device.record(), port.data());

    const std::string_view information = text(basic, informationEnd);
    const bool isReadable = information != unreadableInformation;
    ToolInformation result;
    result.name = isReadable ? trimmed(information) : text(port, locationEnd);
    result.partNumber = trimmed(text(number, partNumberEnd));
    result.type = typeName(information, result.partNumber);
    return result;
}

std::int32_t readPhysicalPort(OpenDevice& device, std::int32_t portHandle) {
    device.command("PHINF:%02X%04X", static_cast<unsigned>(portHandle), portLocationQuery);
    const std::string_view location = device.reply();
    if (location.size() < 12 || !isDigit(location[10]) || !isDigit(location[11]))
        return 0;
    return 10 * (location[10] - '0') + (location[11] - '0');
}

} // namespace Morvalin

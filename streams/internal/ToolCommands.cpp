#include "streams/internal/ToolCommands.h"

#include "streams/internal/OpenDevice.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace Morvalin {
namespace {

constexpr std::size_t imageSize = 1024;
constexpr std::size_t chunkSize = 64;
constexpr std::size_t partNumberOffset = 592;

using Image = std::array<char, imageSize>;

bool isResource(const std::string& path) {
    return path.size() >= 3 && path.starts_with(":/");
}

void readResource(const std::string& path, Image& image) {
    QFile resource(QString::fromStdString(path));
    if (resource.open(QIODevice::ReadOnly))
        resource.read(image.data(), imageSize);
}

void readFile(const std::string& path, Image& image) {
    const std::u8string utf8(path.begin(), path.end());
    const std::filesystem::path name(utf8);
    // A pipe or a device could keep the stream waiting for ever.
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(name, ignored))
        return;
    std::ifstream file(name, std::ios::binary);
    file.read(image.data(), imageSize);
}

Image readImage(const std::string& path) {
    Image image{};
    if (isResource(path))
        readResource(path, image);
    else
        readFile(path, image);
    return image;
}

bool sendImage(OpenDevice& device, std::int32_t portHandle, const Image& image) {
    std::array<char, 2 * chunkSize> hex{};
    for (std::size_t offset = 0; offset < imageSize; offset += chunkSize) {
        hexEncode(hex.data(), image.data() + offset, static_cast<int>(chunkSize));
        if (!device.command("PVWR:%02X%04X%.128s", static_cast<unsigned>(portHandle),
                            static_cast<unsigned>(offset), hex.data()))
            return false;
    }
    return true;
}

void readPartNumber(const Image& image, std::int32_t& partNumber) {
    const char* const begin = image.data() + partNumberOffset;
    const char* const end = std::find(begin, image.data() + imageSize, '\0');
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    if (begin == end || !std::all_of(begin, end, isDigit))
        return;
    if (std::from_chars(begin, end, partNumber).ec != std::errc())
        throw std::out_of_range("stoi argument out of range");
}

} // namespace

int listPortHandles(OpenDevice& device, PortHandles which) {
    return device.command("PHSR:%02X", static_cast<unsigned>(which))
               ? devicePhsrCount(device.record())
               : 0;
}

std::int32_t requestPortHandle(OpenDevice& device) {
    if (!device.command("PHRQ:*********1****"))
        return noPortHandle;
    return device.leadingNumber().value_or(noPortHandle);
}

int uploadToolDefinition(OpenDevice& device, std::int32_t portHandle, const std::string& path,
                         std::int32_t& partNumber) {
    const Image image = readImage(path);
    if (!sendImage(device, portHandle, image))
        return -1;
    readPartNumber(image, partNumber);
    return 0;
}

void initializePort(OpenDevice& device, std::int32_t portHandle) {
    device.command("PINIT:%02X", static_cast<unsigned>(portHandle));
}

void enablePort(OpenDevice& device, std::int32_t portHandle) {
    device.command("PENA:%02X%c", static_cast<unsigned>(portHandle), 'D');
}

} // namespace Morvalin

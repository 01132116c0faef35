#include "streams/internal/OpenDevice.h"

#include <charconv>
#include <cstdarg>
#include <cstring>
#include <limits>
#include <system_error>

namespace Morvalin {
namespace {

/// An answer that refuses without saying why: its code, 00, is that of no error.
bool isRefusal(const char* answer) {
    return std::strncmp(answer, "ERROR", 5) == 0;
}

} // namespace

std::unique_ptr<OpenDevice> OpenDevice::overNetwork(const std::string& host, std::int32_t port) {
    if (port < 0 || port > std::numeric_limits<std::uint16_t>::max())
        return nullptr;
    auto opened = std::make_unique<OpenDevice>(nullptr);
    opened->device = deviceOpenNetwork(host.c_str(), static_cast<std::uint16_t>(port));
    return opened->device != nullptr ? std::move(opened) : nullptr;
}

std::unique_ptr<OpenDevice> OpenDevice::overSerialLine(const std::string& portName) {
    auto opened = std::make_unique<OpenDevice>(nullptr);
    opened->device = deviceOpenSerial(portName.c_str());
    return opened->device != nullptr ? std::move(opened) : nullptr;
}

OpenDevice::~OpenDevice() {
    if (device == nullptr)
        return;
    if (device->hostName != nullptr) {
        deviceCloseNetwork(device);
        return;
    }
    setLinkSpeed(0, false);
    deviceCloseSerial(device);
}

bool OpenDevice::command(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const char* const text = deviceCommandV(device, format, arguments);
    va_end(arguments);
    const bool isGood = deviceGetError(device) == 0 && !isRefusal(text);
    answer = isGood ? text : "";
    return isGood;
}

bool OpenDevice::setLinkSpeed(std::int32_t code, bool handshake) {
    return command("COMM:%d%03d%d", code, 0, handshake ? 1 : 0);
}

std::optional<std::int32_t> OpenDevice::leadingNumber() const {
    const std::string_view digits = reply().substr(0, 2);
    const char* const end = digits.data() + digits.size();
    std::uint8_t number = 0;
    const auto result = std::from_chars(digits.data(), end, number, 16);
    if (digits.size() < 2 || result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return number;
}

} // namespace Morvalin

#include "protocol/reply_text.h"

#include "protocol/device.h"

namespace protocol {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

std::uint32_t parseHex(std::string_view text, std::size_t width) {
    std::uint32_t value = 0;
    for (const char c : text.substr(0, width)) {
        const int digit = hexDigit(c);
        if (digit < 0) {
            break;
        }
        value = (value << 4) | static_cast<std::uint32_t>(digit);
    }
    return value;
}

int parseSigned(std::string_view field) {
    const char sign = charAt(field, 0);
    if (sign != '+' && sign != '-') {
        return 0;
    }
    int value = 0;
    for (const char c : field.substr(1)) {
        if (c < '0' || c > '9') {
            break;
        }
        value = value * 10 + (c - '0');
    }
    return sign == '-' ? -value : value;
}

std::uint32_t replyOption(std::string_view command, std::size_t separatorAt, std::size_t optionAt,
                          std::uint32_t otherwise) {
    const char separator = charAt(command, separatorAt);
    const bool hasOption = (separator == ':' && charAt(command, separatorAt + 5) != '\r') ||
                           (separator == ' ' && charAt(command, separatorAt + 1) != '\r');
    return hasOption ? parseHex(tailAt(command, optionAt), 4) : otherwise;
}
} // namespace protocol

char* hexEncode(char* out, const void* bytes, int n) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const auto* in = static_cast<const unsigned char*>(bytes);
    for (int i = 0; i < n; ++i) {
        out[2 * i] = kDigits[in[i] >> 4];
        out[2 * i + 1] = kDigits[in[i] & 0x0F];
    }
    return out;
}

void* hexDecode(void* out, const char* text, int n) {
    auto* bytes = static_cast<unsigned char*>(out);
    const auto nextDigit = [&text] {
        const int digit = protocol::hexDigit(*text);
        text += *text != '\0' ? 1 : 0; // a text that is too short reads as zeros
        return digit < 0 ? 0 : digit;
    };
    for (int i = 0; i < n; ++i) {
        const int high = nextDigit();
        bytes[i] = static_cast<unsigned char>(high << 4 | nextDigit());
    }
    return out;
}

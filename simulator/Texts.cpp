#include "simulator/Texts.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace ndisim {

namespace {

template <typename Number, typename... Format>
std::optional<Number> parseWhole(std::string_view text, Format... format) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, format...);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

} // namespace

std::optional<std::uint32_t> parseHex(std::string_view text) {
    return parseWhole<std::uint32_t>(text, 16);
}

std::optional<std::uint32_t> parseDecimal(std::string_view text) {
    return parseWhole<std::uint32_t>(text, 10);
}

std::optional<std::string> parseHexBytes(std::string_view text) {
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const auto value = parseHex(text.substr(i, 2));
        if (!value) {
            return std::nullopt;
        }
        bytes += static_cast<char>(*value);
    }
    return bytes;
}

std::optional<double> parseNumber(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const auto value = parseWhole<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (;;) {
        const auto end = text.find(separator);
        parts.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

std::string padded(std::string text, std::size_t width) {
    text.resize(width, ' ');
    return text;
}

std::string hexText(std::uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, static_cast<unsigned>(value));
    return text;
}

std::string hexBytes(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += hexText(static_cast<unsigned char>(byte), 2);
    }
    return text;
}

std::uint16_t crc16(std::string_view bytes) {
    unsigned crc = 0;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xA001U : crc >> 1U;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

std::string withCrc(std::string_view text) {
    return std::string(text) + hexText(crc16(text), 4) + '\r';
}

std::string escaped(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (byte == '\r') {
            text += "\\r";
        } else if (byte == '\n') {
            text += "\\n";
        } else if (byte == '\\') {
            text += "\\\\";
        } else if (value < 0x20 || value >= 0x7F) {
            text += "\\x" + hexText(value, 2);
        } else {
            text += byte;
        }
    }
    return text;
}

} // namespace ndisim

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The wire format, written a second time for the tests: a mistake of the library must not be able
// to hide behind itself.
namespace wire {

inline std::uint16_t crc(std::string_view bytes) {
    unsigned value = 0;
    for (const char byte : bytes) {
        value ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1) != 0 ? (value >> 1) ^ 0xA001 : value >> 1;
        }
    }
    return static_cast<std::uint16_t>(value);
}

inline std::string hex(unsigned value, int digits) {
    std::string text;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        text += "0123456789ABCDEF"[value >> shift & 0x0F];
    }
    return text;
}

// A text reply as the device sends it.
inline std::string text(std::string_view data) {
    return std::string(data) + hex(crc(data), 4) + "\r";
}

// Little-endian numbers of a binary reply.
inline std::string le16(unsigned value) {
    return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF)};
}

inline std::string le32(std::uint32_t value) {
    return le16(value & 0xFFFF) + le16(value >> 16);
}

inline std::string floats(std::initializer_list<float> values) {
    std::string bytes;
    for (const float value : values) {
        bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
    }
    return bytes;
}

// A binary reply without its last CRC, as the decoders see it.
inline std::string binaryData(std::string_view body) {
    const std::string header = "\xC4\xA5" + le16(static_cast<unsigned>(body.size()));
    return header + le16(crc(header)) + std::string(body);
}

// A binary reply as the device sends it; its last CRC covers everything before.
inline std::string binary(std::string_view body) {
    const std::string data = binaryData(body);
    return data + le16(crc(data));
}

} // namespace wire

#include "simulator/Crc.h"

#include <cstdio>

namespace ndisim {

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

std::string crcText(std::uint16_t crc) {
    char text[5];
    std::snprintf(text, sizeof text, "%04X", static_cast<unsigned>(crc));
    return text;
}

std::string withCrc(std::string_view text) {
    std::string framed(text);
    framed += crcText(crc16(text));
    framed += '\r';
    return framed;
}

} // namespace ndisim

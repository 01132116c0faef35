#include "protocol/crc.h"

namespace protocol {
namespace {

constexpr std::uint8_t kNibbleParity[16] = {0, 1, 1, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 1, 0};

// Eight shift steps at once: for a reflected 0x8005 the remainder of one byte depends only on the
// byte itself and on its parity.
std::uint16_t addByte(std::uint16_t crc, char byte) {
    const unsigned data = (static_cast<unsigned char>(byte) ^ crc) & 0xFFu;
    unsigned next = crc >> 8;
    if (kNibbleParity[data & 0x0F] != kNibbleParity[data >> 4]) {
        next ^= 0xC001;
    }
    return static_cast<std::uint16_t>(next ^ (data << 6) ^ (data << 7));
}

} // namespace

std::uint16_t crc16(std::string_view bytes) {
    std::uint16_t crc = 0;
    for (const char byte : bytes) {
        crc = addByte(crc, byte);
    }
    return crc;
}

} // namespace protocol

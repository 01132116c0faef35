#pragma once

#include <cstdint>
#include <string_view>

namespace protocol {

// CRC-16/ARC (polynomial 0x8005 reflected, initial value 0, no final XOR) of commands and replies.
std::uint16_t crc16(std::string_view bytes);

} // namespace protocol

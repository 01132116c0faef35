#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ndisim {

/// The checksum of commands and replies: polynomial 0x8005 reflected, start value 0.
/// "INIT:" gives 0xE3A5.
std::uint16_t crc16(std::string_view bytes);

/// Four upper-case hexadecimal digits.
std::string crcText(std::uint16_t crc);

/// A command or a text reply as it goes over the line: text, checksum, carriage return.
std::string withCrc(std::string_view text);

} // namespace ndisim

#pragma once

#include <cstdint>
#include <string_view>

namespace protocol {

// The reply option of a command: the bit mask that says what the reply holds.
//   command      as sent, CRC and CR included
//   separatorAt  where the name ends, in ':' or a space
//   optionAt     where the four hex digits of the option stand, if it has one
//   otherwise    the option of a command without one
// Behind ':' a CR five characters on means that only the CRC follows.
std::uint32_t replyOption(std::string_view command, std::size_t separatorAt, std::size_t optionAt,
                          std::uint32_t otherwise);

} // namespace protocol

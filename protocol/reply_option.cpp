#include "protocol/reply_option.h"

#include "protocol/text_number.h"

namespace protocol {

std::uint32_t replyOption(std::string_view command, std::size_t separatorAt, std::size_t optionAt,
                          std::uint32_t otherwise) {
    const char separator = charAt(command, separatorAt);
    const bool hasOption = (separator == ':' && charAt(command, separatorAt + 5) != '\r') ||
                           (separator == ' ' && charAt(command, separatorAt + 1) != '\r');
    return hasOption ? parseHex(tailAt(command, optionAt), 4) : otherwise;
}

} // namespace protocol

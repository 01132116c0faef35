#include "protocol/channel.h"
#include "protocol/crc.h"
#include "protocol/errors.h"
#include "protocol/read_loop.h"
#include "protocol/text_number.h"

#include <cstring>

namespace protocol {
namespace {

constexpr std::size_t kBinaryTail = 2; // CRC, little-endian
constexpr std::size_t kTextTail = 5;   // CRC in four digits, CR
constexpr std::size_t kTextCrcDigits = 4;

std::uint32_t sentCrc(std::string_view tail, bool binary) {
    if (binary) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(tail[0]) |
                                          static_cast<unsigned char>(tail[1]) << 8);
    }
    return parseHex(tail, kTextCrcDigits);
}

} // namespace

int checkReply(DeviceRecord& record, int received, bool binary) {
    const std::string_view raw(record.rawReply, static_cast<std::size_t>(received));
    // A device that refuses a binary command answers in text.
    const bool isBinary = binary && !(raw.starts_with("ERROR") && raw.ends_with('\r'));
    const std::size_t tailLength = isBinary ? kBinaryTail : kTextTail;
    if (raw.size() < tailLength) {
        setError(record, kBadCrc);
        return -1;
    }
    const std::string_view data = raw.substr(0, raw.size() - tailLength);
    std::memcpy(record.reply, data.data(), data.size());
    if (!isBinary) {
        record.reply[data.size()] = '\0';
    }
    if (sentCrc(raw.substr(data.size()), isBinary) != crc16(data)) {
        setError(record, kBadCrc);
        return -1;
    }
    const int length = static_cast<int>(data.size());
    const std::int32_t deviceError = deviceErrorIn(record.reply, length);
    if (deviceError >= 0) {
        setError(record, deviceError);
        return -1;
    }
    return length;
}

} // namespace protocol

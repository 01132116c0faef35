#include "protocol/read_loop.h"

#include "protocol/text_number.h"

#include <algorithm>
#include <cstring>

namespace protocol {
namespace {

constexpr std::string_view kError = "ERROR";

// The total that ends a binary reply: header, header CRC, body of the declared length, body CRC.
int expectedTotal(std::string_view received, int max) {
    if (received.size() < 4 || !received.starts_with("\xC4\xA5")) {
        return max;
    }
    const auto low = static_cast<unsigned char>(received[2]);
    const auto high = static_cast<unsigned char>(received[3]);
    return std::min((high << 8 | low) + 8, max);
}

bool endsWithTerminator(std::string_view received, bool binary) {
    return received.back() == '\r' && (!binary || received.starts_with(kError));
}

// Later chunks go through a scratch area: each may be as long as the whole buffer, which holds the
// earlier ones already. What does not fit any more is dropped.
int receiveBehind(ByteSource& source, char* buffer, int total, int max) {
    char scratch[kMaxChunk];
    const int received = source.receive(scratch, std::min(max, kMaxChunk));
    const int kept = std::min(received, max - total);
    if (kept > 0) {
        std::memcpy(buffer + total, scratch, static_cast<std::size_t>(kept));
    }
    return kept;
}

} // namespace

int readReply(ByteSource& source, char* buffer, int max, bool binary) {
    int total = 0;
    while (total < max) {
        const int received =
            total == 0 ? source.receive(buffer, max) : receiveBehind(source, buffer, total, max);
        if (received <= 0) {
            return received;
        }
        total += received;
        const std::string_view reply(buffer, static_cast<std::size_t>(total));
        if (endsWithTerminator(reply, binary)) {
            return total;
        }
        const int expected = binary ? expectedTotal(reply, max) : max;
        if (total >= expected) {
            return expected;
        }
    }
    return total;
}

std::int32_t deviceErrorIn(const char* reply, int length) {
    const std::string_view text(reply, static_cast<std::size_t>(length));
    if (!text.starts_with(kError)) {
        return -1;
    }
    return static_cast<std::int32_t>(parseHex(text.substr(kError.size()), 2));
}

} // namespace protocol

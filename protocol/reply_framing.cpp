#include "protocol/reply_framing.h"

#include "protocol/reply_text.h"

#include <algorithm>
#include <cstring>

namespace protocol {
namespace {

constexpr std::string_view kError = "ERROR";
constexpr std::string_view kBinaryStart = "\xC4\xA5";

// What ends a binary reply: header, header CRC, body of the declared length, body CRC. 0 while the
// reply is too short to tell, or is none.
int declaredTotal(std::string_view received) {
    if (received.size() < 4 || !received.starts_with(kBinaryStart)) {
        return 0;
    }
    const auto low = static_cast<unsigned char>(received[2]);
    const auto high = static_cast<unsigned char>(received[3]);
    return (high << 8 | low) + 8;
}

bool endsWithTerminator(std::string_view received, bool binary) {
    return received.back() == '\r' && (!binary || received.starts_with(kError));
}

// Later chunks go through a scratch area: each may be as long as the whole buffer, which holds the
// earlier ones already.
int receiveBehind(ByteSource& source, char* buffer, int total, int max) {
    char scratch[kMaxChunk];
    const int received = source.receive(scratch, std::min(max, kMaxChunk));
    const int kept = std::min(received, max - total);
    if (kept > 0) {
        std::memcpy(buffer + total, scratch, static_cast<std::size_t>(kept));
    }
    if (kept < received) {
        source.keepBeyond(scratch + kept, received - kept);
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
        const int declared = binary ? declaredTotal(reply) : 0;
        const int expected = declared == 0 ? max : std::min(declared, max);
        if (total >= expected) {
            return expected;
        }
    }
    return total;
}

std::string_view ReplyFraming::start() const {
    return {m_start, std::min(static_cast<std::size_t>(m_count), sizeof(m_start))};
}

ReplyFraming ReplyFraming::endless() {
    ReplyFraming framing(true);
    framing.add("?");
    return framing;
}

int ReplyFraming::wanted() const {
    return std::max(1, declaredTotal(start()) - m_count);
}

void ReplyFraming::add(std::string_view bytes) {
    for (const char byte : bytes) {
        if (m_count < static_cast<int>(sizeof(m_start))) {
            m_start[m_count] = byte;
        }
        ++m_count;
        m_isWhole = endsWith(byte);
    }
}

bool ReplyFraming::endsWith(char last) const {
    if (start().starts_with(kBinaryStart)) {
        return m_count == declaredTotal(start());
    }
    return last == '\r' && (!m_expectsBinary || start().starts_with(kError));
}

std::int32_t deviceErrorIn(const char* reply, int length) {
    const std::string_view text(reply, static_cast<std::size_t>(length));
    if (!text.starts_with(kError)) {
        return -1;
    }
    return static_cast<std::int32_t>(parseHex(text.substr(kError.size()), 2));
}

} // namespace protocol

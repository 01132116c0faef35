#include "protocol/crc.h"

#include <bit>
#include <cstring>

namespace protocol {
namespace {

// Eight shift steps at once: for a reflected 0x8005 the remainder of one byte depends only on the
// byte itself and on its parity.
unsigned addByte(unsigned crc, char byte) {
    const unsigned data = (static_cast<unsigned char>(byte) ^ crc) & 0xFFu;
    const unsigned parity = static_cast<unsigned>(std::popcount(data)) & 1u;
    return (crc >> 8) ^ (parity * 0xC001u) ^ (data << 6) ^ (data << 7);
}

unsigned addBytes(unsigned crc, std::string_view bytes) {
    for (const char byte : bytes) {
        crc = addByte(crc, byte);
    }
    return crc;
}

static_assert(std::endian::native == std::endian::little, "the first byte has the highest powers");

// One at a time, the bytes of a tracking reply would cost a tenth of the whole exchange. But
// x^64 leaves x^15 + x^8 + x^4 + x + 1 modulo the polynomial, so eight bytes can be moved past the
// next eight by a few shifts. A power of x more is a bit further right; what leaves the word there
// is as much beyond x^64, and goes through the same again.
std::uint64_t moveOn(std::uint64_t word) {
    const std::uint64_t beyond = word << 63 ^ word << 60 ^ word << 56 ^ word << 49;
    const auto times = [](std::uint64_t w) { return w ^ w >> 1 ^ w >> 4 ^ w >> 8 ^ w >> 15; };
    return times(word) ^ times(beyond);
}

} // namespace

std::uint16_t crc16(std::string_view bytes) {
    std::uint64_t folded = 0; // has the same remainder as all bytes before
    for (; bytes.size() >= sizeof(folded); bytes.remove_prefix(sizeof(folded))) {
        std::uint64_t next;
        std::memcpy(&next, bytes.data(), sizeof(next));
        folded = moveOn(folded) ^ next;
    }
    char last[sizeof(folded)];
    std::memcpy(last, &folded, sizeof(folded));
    return static_cast<std::uint16_t>(addBytes(addBytes(0, {last, sizeof(last)}), bytes));
}

} // namespace protocol

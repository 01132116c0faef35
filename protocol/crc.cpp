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

// One at a time, the bytes of a tracking reply would cost a tenth of the whole exchange. But x^64
// leaves x^15 + x^8 + x^4 + x + 1 modulo the polynomial, and x^128 the square of that, so a word of
// eight bytes can be moved past the next one or two by a few shifts. A power of x more is a bit
// further right; what leaves the word there is as much beyond x^64, and goes through it again.
using Word = std::uint64_t;

Word timesX64(Word word) {
    return word ^ word >> 1 ^ word >> 4 ^ word >> 8 ^ word >> 15;
}

Word pastOneWord(Word word) {
    return timesX64(word) ^ timesX64(word << 63 ^ word << 60 ^ word << 56 ^ word << 49);
}

Word pastTwoWords(Word word) {
    const Word beyond = word << 62 ^ word << 56 ^ word << 48 ^ word << 34;
    return word ^ word >> 2 ^ word >> 8 ^ word >> 16 ^ word >> 30 ^ timesX64(beyond);
}

Word takeWord(std::string_view& bytes) {
    Word word;
    std::memcpy(&word, bytes.data(), sizeof(word));
    bytes.remove_prefix(sizeof(word));
    return word;
}

// A word with the same remainder as all whole words, which are taken away. The even and the odd
// ones are folded apart: neither waits for the other.
Word fold(std::string_view& bytes) {
    Word even = 0;
    Word odd = 0;
    while (bytes.size() >= 2 * sizeof(Word)) {
        even = pastTwoWords(even) ^ takeWord(bytes);
        odd = pastTwoWords(odd) ^ takeWord(bytes);
    }
    const Word both = pastOneWord(even) ^ odd;
    return bytes.size() < sizeof(Word) ? both : pastOneWord(both) ^ takeWord(bytes);
}

} // namespace

std::uint16_t crc16(std::string_view bytes) {
    unsigned crc = 0;
    if (bytes.size() >= sizeof(Word)) {
        const Word folded = fold(bytes);
        char whole[sizeof(folded)];
        std::memcpy(whole, &folded, sizeof(folded));
        crc = addBytes(crc, {whole, sizeof(whole)});
    }
    return static_cast<std::uint16_t>(addBytes(crc, bytes));
}

} // namespace protocol

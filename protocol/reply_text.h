#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// The texts of commands and replies: numbers of fixed width, the reply option, walking over fields.
namespace protocol {

// ---- Numbers

// The value of a hexadecimal digit of either case; -1 for any other character.
int hexDigit(char c);

// Up to width hexadecimal digits from the start of the text; the first other character ends them.
std::uint32_t parseHex(std::string_view text, std::size_t width);

// A field of a sign and decimal digits; the first other character ends it. Without a sign it is 0.
int parseSigned(std::string_view field);

// The character at a position; zero behind the end.
inline char charAt(std::string_view text, std::size_t position) {
    return position < text.size() ? text[position] : '\0';
}

// The part of a text from a position on; empty behind the end.
inline std::string_view tailAt(std::string_view text, std::size_t position) {
    return position < text.size() ? text.substr(position) : std::string_view();
}

// The digits of a fixed-width text store.
template <std::size_t N>
int hexField(const char (&store)[N]) {
    return static_cast<int>(parseHex({store, N}, N));
}

// Fixed-point scales of the text replies.
inline constexpr double kRotationScale = 0.0001;
inline constexpr double kPositionScale = 0.01;

// The characters of a text store up to its terminator.
template <std::size_t N>
std::string_view storedText(const char (&store)[N]) {
    const void* end = std::memchr(store, '\0', N);
    return {store,
            end == nullptr ? N : static_cast<std::size_t>(static_cast<const char*>(end) - store)};
}

// The signed field of a given width at a position of a text.
inline int signedAt(std::string_view text, std::size_t position, std::size_t width) {
    return parseSigned(tailAt(text, position).substr(0, width));
}

// Three positions of seven characters each.
inline void positionAt(std::string_view text, std::size_t begin, double* position) {
    for (std::size_t k = 0; k < 3; ++k) {
        position[k] = signedAt(text, begin + 7 * k, 7) * kPositionScale;
    }
}

// ---- The reply option

// The reply option of a command: the bit mask that says what the reply holds.
//   command      as sent, CRC and CR included
//   separatorAt  where the name ends, in ':' or a space
//   optionAt     where the four hex digits of the option stand, if it has one
//   otherwise    the option of a command without one
// Behind ':' a CR five characters on means that only the CRC follows.
std::uint32_t replyOption(std::string_view command, std::size_t separatorAt, std::size_t optionAt,
                          std::uint32_t otherwise);

// ---- Fields

// Walks over a text reply. Every copy and skip stops at the end and at a control character (below
// 0x20, and 0x80 and above).
class TextCursor {
public:
    explicit TextCursor(std::string_view text) : m_rest(text) {}

    // The next character; zero at the end.
    char next() const { return charAt(m_rest, 0); }

    // Consumes up to n characters and keeps as many of them as there is room for.
    //   result  how many were kept
    std::size_t take(char* out, std::size_t room, std::size_t n) {
        const std::size_t length = textLength(n);
        const std::size_t kept = std::min(length, room);
        std::copy_n(m_rest.data(), kept, out);
        m_rest.remove_prefix(length);
        return kept;
    }

    void skip(std::size_t n) { m_rest.remove_prefix(textLength(n)); }

    void skipLine() {
        skip(m_rest.size());
        skipLineFeed();
    }

    bool skipLineFeed() {
        const bool isThere = next() == '\n';
        m_rest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }

    // Consumes up to width characters and gives the value of the digits that they begin with.
    std::uint32_t takeHex(std::size_t width) {
        const std::uint32_t value = parseHex(m_rest, width);
        skip(width);
        return value;
    }

private:
    static bool isText(char c) { return c >= 0x20 && static_cast<unsigned char>(c) < 0x80; }

    // Whether eight characters are all text: of the others, the first below 0x20 borrows into its
    // top bit, and those from 0x80 on have it.
    static bool areText(const char (&characters)[8]) {
        constexpr std::uint64_t kEach = 0x0101010101010101;
        const auto word = std::bit_cast<std::uint64_t>(characters);
        return (((word - 0x20 * kEach) | word) & 0x80 * kEach) == 0;
    }

    std::size_t textLength(std::size_t limit) const {
        std::string_view part = m_rest.substr(0, limit);
        char eight[8];
        while (part.copy(eight, sizeof(eight)) == sizeof(eight) && areText(eight)) {
            part.remove_prefix(sizeof(eight));
        }
        const auto* end = std::find_if_not(part.begin(), part.end(), isText);
        return static_cast<std::size_t>(end - m_rest.begin());
    }

    std::string_view m_rest;
};

// Consumes the text of a field into a store that has no terminator of its own. Behind a shorter
// text the store keeps what it held.
template <std::size_t N>
void overlayField(TextCursor& cursor, char (&store)[N]) {
    cursor.take(store, N, N);
}

// The same, with zeros where the text is shorter.
template <std::size_t N>
void replaceField(TextCursor& cursor, char (&store)[N]) {
    std::fill_n(store, N, '\0');
    overlayField(cursor, store);
}

// Consumes up to n characters into a store and terminates them there.
template <std::size_t N>
void takeTerminated(TextCursor& cursor, char (&store)[N], std::size_t n) {
    store[cursor.take(store, N - 1, n)] = '\0';
}

} // namespace protocol

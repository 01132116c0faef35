#pragma once

#include "protocol/text_number.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace protocol {

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

// Consumes the text of a field into a store that has no terminator of its own.
template <std::size_t N>
void takeField(TextCursor& cursor, char (&store)[N]) {
    cursor.take(store, N, N);
}

// The same, with zeros where the text is shorter.
template <std::size_t N>
void takeWhole(TextCursor& cursor, char (&store)[N]) {
    std::fill_n(store, N, '\0');
    takeField(cursor, store);
}

// Consumes up to n characters into a store and terminates them there.
template <std::size_t N>
void takeTerminated(TextCursor& cursor, char (&store)[N], std::size_t n) {
    store[cursor.take(store, N - 1, n)] = '\0';
}

} // namespace protocol

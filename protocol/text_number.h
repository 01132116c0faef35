#pragma once

#include <cstdint>
#include <string_view>

// The numbers in the device's fixed-width texts.
namespace protocol {

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

} // namespace protocol

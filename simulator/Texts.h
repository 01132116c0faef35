#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

/// The value of a text that consists of nothing but hexadecimal digits of either case, at most 8.
std::optional<std::uint32_t> parseHex(std::string_view text);

/// The value of a text that consists of nothing but decimal digits and fits.
std::optional<std::uint32_t> parseDecimal(std::string_view text);

/// The bytes of pairs of hexadecimal digits.
std::optional<std::string> parseHexBytes(std::string_view text);

/// A number with an optional sign and fraction, the whole text.
std::optional<double> parseNumber(std::string_view text);

/// The parts between separators; an empty text has one empty part.
std::vector<std::string> split(std::string_view text, char separator);

/// Exactly `width` characters: cut, or filled up with blanks.
std::string padded(std::string text, std::size_t width);

/// Upper-case hexadecimal digits, at least `digits` of them.
std::string hexText(std::uint32_t value, int digits);

/// "C4 A5 00" without the blanks.
std::string hexBytes(std::string_view bytes);

/// The checksum of commands and replies: polynomial 0x8005 reflected, start value 0.
/// "INIT:" gives 0xE3A5.
std::uint16_t crc16(std::string_view bytes);

/// A command or a text reply as it goes over the line: text, checksum, carriage return.
std::string withCrc(std::string_view text);

/// The names of a table's entries: "probe, reference, …".
template <typename Entries>
std::string namesOf(const Entries& entries) {
    std::string names;
    for (const auto& entry : entries) {
        names += (names.empty() ? "" : ", ") + std::string(entry.name);
    }
    return names;
}

/// Printable characters as they are; others as \r, \n, \\ or \xNN.
std::string escaped(std::string_view bytes);

} // namespace ndisim

#include "XmlText.h"

#include <charconv>
#include <cstdint>
#include <iterator>

#include <boost/locale/utf.hpp>

namespace Morvalin::XmlText {
namespace {

using Utf8 = boost::locale::utf::utf_traits<char>;

bool isXmlCharacter(std::uint32_t code) {
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r';
    return code < 0xD800 || (code > 0xDFFF && code < 0xFFFE) || (code > 0xFFFF && code <= 0x10FFFF);
}

/// Length of the character at the start of the text, 0 when XML cannot hold it.
std::size_t characterLength(std::string_view text) {
    const char* position = text.data();
    const auto code = Utf8::decode(position, text.data() + text.size());
    if (code == boost::locale::utf::illegal || code == boost::locale::utf::incomplete ||
        !isXmlCharacter(code))
        return 0;
    return static_cast<std::size_t>(position - text.data());
}

template <class Number>
std::optional<Number> parseAll(std::string_view digits, int base) {
    Number value = 0;
    const char* const last = digits.data() + digits.size();
    const auto [end, fault] = std::from_chars(digits.data(), last, value, base);
    if (fault != std::errc() || end != last)
        return std::nullopt;
    return value;
}

/// The text that a reference stands for, given what is between "&" and ";"; empty for a bad one.
std::string resolve(std::string_view name) {
    static constexpr std::pair<std::string_view, std::string_view> predefined[] = {
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
    for (const auto& [known, text] : predefined)
        if (name == known)
            return std::string(text);
    if (!name.starts_with('#'))
        return {};
    name.remove_prefix(1);
    const bool isHexadecimal = name.starts_with('x');
    name.remove_prefix(isHexadecimal ? 1 : 0);
    const auto code = parseAll<std::uint32_t>(name, isHexadecimal ? 16 : 10);
    std::string character;
    if (code && isXmlCharacter(*code))
        Utf8::encode(*code, std::back_inserter(character));
    return character;
}

} // namespace

std::size_t findUnfit(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text.substr(at));
        if (length == 0)
            return at;
        at += length;
    }
    return std::string_view::npos;
}

std::string percentEncode(std::string_view text) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string encoded;
    while (!text.empty()) {
        const std::size_t length = text.front() == '%' ? 0 : characterLength(text);
        if (length == 0) {
            const auto byte = static_cast<unsigned char>(text.front());
            encoded += {'%', digits[byte >> 4], digits[byte & 0xF]};
        } else {
            encoded += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return encoded;
}

std::optional<std::string> percentDecode(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        const std::string_view digits = text.substr(at + 1, 2);
        const auto byte = parseAll<unsigned char>(digits, 16);
        if (digits.size() != 2 || !byte)
            return std::nullopt;
        decoded += static_cast<char>(*byte);
        at += 2;
    }
    return decoded;
}

std::optional<std::string> resolveReferences(std::string_view raw) {
    std::string resolved;
    for (std::size_t at = 0; at < raw.size(); ++at) {
        if (raw[at] == '<')
            return std::nullopt;
        if (raw[at] != '&') {
            resolved += raw[at];
            continue;
        }
        const std::size_t end = raw.find(';', at);
        const std::string text =
            end == std::string_view::npos ? "" : resolve(raw.substr(at + 1, end - at - 1));
        if (text.empty())
            return std::nullopt;
        resolved += text;
        at = end;
    }
    return resolved;
}

} // namespace Morvalin::XmlText

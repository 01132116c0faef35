#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Morvalin::XmlText {

/// Offset of the first byte that begins no character XML may hold; npos when the whole text is fit.
std::size_t findUnfit(std::string_view text);

/// The text with "%" and every unfit byte as "%" and two hexadecimal digits.
std::string percentEncode(std::string_view text);
/// Nothing when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> percentDecode(std::string_view text);

/// Resolves the references in the raw value of an XML attribute. Nothing when one is unknown or
/// names a character that XML forbids, or when the value holds a "<".
std::optional<std::string> resolveReferences(std::string_view raw);

} // namespace Morvalin::XmlText

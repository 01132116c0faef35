#pragma once

#include <algorithm>
#include <string>

namespace Morvalin {

/// A byte that ends a line or steers a terminal. Texts that a device or a file brought may hold
/// some; none may reach a terminal, forge another line or look like nothing.
inline bool isControlCharacter(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

inline void replaceControlCharacters(std::string& text, char substitute) {
    std::replace_if(text.begin(), text.end(), isControlCharacter, substitute);
}

} // namespace Morvalin

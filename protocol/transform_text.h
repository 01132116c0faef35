#pragma once

#include "protocol/text_number.h"

#include <cstddef>
#include <cstring>

namespace protocol {

// Fixed-point scales of the text replies.
inline constexpr double kRotationScale = 0.0001;
inline constexpr double kPositionScale = 0.01;

// The results of the accessors that read a text which may stand for a tool without a pose.
enum TextState { kTextValid = 0, kTextDisabled = 1, kTextMissing = 2 };

inline TextState textState(char first) {
    return first == 'M' ? kTextMissing : first == 'D' || first == '\0' ? kTextDisabled : kTextValid;
}

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

// q0, qx, qy, qz, tx, ty, tz and error of a transform text; nothing unless it is valid.
TextState readTransform(std::string_view text, double* values);

} // namespace protocol

#pragma once

#include <concepts>
#include <string>
#include <string_view>

#include <morvalincore/Log.h>

namespace Morvalin {

inline void appendPiece(std::string& text, std::string_view piece) {
    text += piece;
}

inline void appendPiece(std::string& text, std::integral auto number) {
    text += std::to_string(number);
}

/// Logs the pieces, texts and integers, as one message. Nothing is built when the level is
/// filtered. A message for which memory is short is lost: logging never disturbs what it reports.
template <class... Pieces>
void logText(int level, const char* category, const Pieces&... pieces) noexcept {
    if (!Log::isAccepted(level))
        return;
    try {
        std::string text;
        (appendPiece(text, pieces), ...);
        Log::log(level, category, text);
    } catch (...) {
    }
}

} // namespace Morvalin

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

/// Reads decisions off the bytes that a fuzzer came up with; zeros and empty texts behind the end.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) :
        m_rest(reinterpret_cast<const char*>(data), size) {}

    bool isEmpty() const { return m_rest.empty(); }

    unsigned byte() {
        const std::string_view taken = take(1);
        return taken.empty() ? 0 : static_cast<unsigned char>(taken.front());
    }

    /// Low byte first.
    unsigned word() {
        const unsigned low = byte();
        return low | byte() << 8;
    }

    std::string_view take(std::size_t count) {
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    /// A text behind its length in a word.
    std::string_view text() { return take(word()); }

    std::string_view rest() { return take(m_rest.size()); }

private:
    std::string_view m_rest;
};

/// Writes what Input::text reads.
inline std::string counted(std::string_view text) {
    return std::string{static_cast<char>(text.size()), static_cast<char>(text.size() >> 8)} +
           std::string(text);
}

/// A reply option as commands have it.
inline std::string optionDigits(unsigned option) {
    char digits[16] = {};
    std::snprintf(digits, sizeof(digits), "%04X", option);
    return digits;
}

/// Ends the run as a finding unless what must hold holds.
inline void expect(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "FAILED: %s\n", what);
    std::abort();
}

} // namespace fuzz

#include "session/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace Morvalin::App {

namespace {

constexpr std::size_t shortestPart = 3;

std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// Number of letters to insert, remove or replace.
std::size_t editDistance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string nearest(const std::string& text, const std::vector<std::string>& candidates) {
    const std::string typed = lowerCase(text);
    // More than a third of the letters wrong is another word.
    std::size_t best = std::max<std::size_t>(1, typed.size() / 3) + 1;
    std::string result;
    for (const std::string& candidate : candidates) {
        const std::string known = lowerCase(candidate);
        if (typed.size() >= shortestPart && known.find(typed) != std::string::npos)
            return candidate;
        const std::size_t distance = editDistance(typed, known);
        if (distance >= best)
            continue;
        best = distance;
        result = candidate;
    }
    return result;
}

std::string suggestion(const std::string& text, const std::vector<std::string>& candidates) {
    const std::string found = nearest(text, candidates);
    return found.empty() ? std::string() : "; did you mean \"" + found + "\"?";
}

} // namespace Morvalin::App

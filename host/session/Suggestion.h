#pragma once

#include <string>
#include <vector>

namespace Morvalin::App {

/// The candidate that somebody who typed `text` probably meant: one that contains it, or else the
/// one with the fewest letters changed. Empty when none is near.
std::string nearest(const std::string& text, const std::vector<std::string>& candidates);

/// '; did you mean "…"?' with the nearest candidate, or nothing.
std::string suggestion(const std::string& text, const std::vector<std::string>& candidates);

} // namespace Morvalin::App

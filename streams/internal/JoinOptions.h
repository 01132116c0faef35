#pragma once

#include <string>
#include <vector>

namespace Morvalin {

/// The options of a choice as the host's panels take them: "a, b, c".
inline std::string joinOptions(const std::vector<std::string>& options) {
    std::string joined;
    for (const std::string& option : options)
        joined += option + ", ";
    return joined.substr(0, joined.empty() ? 0 : joined.size() - 2);
}

} // namespace Morvalin

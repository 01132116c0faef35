#include "outputs/EventNames.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace Morvalin::App {

namespace {

using Kind = StreamEvent::Kind;

constexpr std::array<std::pair<Kind, const char*>, 6> names{{{Kind::Opened, "opened"},
                                                             {Kind::Closed, "closed"},
                                                             {Kind::Stalled, "stalled"},
                                                             {Kind::Resumed, "resumed"},
                                                             {Kind::Reconnecting, "reconnecting"},
                                                             {Kind::Tool, "tool"}}};

} // namespace

const char* eventName(Kind kind) {
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](const auto& entry) { return entry.first == kind; });
    return found == names.end() ? "" : found->second;
}

Kind eventKind(const std::string& name) {
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](const auto& entry) { return entry.second == name; });
    if (found == names.end())
        throw std::runtime_error("\"" + name + "\" is no event that is known");
    return found->first;
}

} // namespace Morvalin::App

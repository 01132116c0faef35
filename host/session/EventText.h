#pragma once

#include <string>

#include <morvalinstream/StreamEvent.h>

namespace Morvalin::App {

/// What the log says of an event of a stream: its level and text, which is empty when there is
/// nothing to say.
struct EventText {
    int level;
    std::string text;
};
EventText eventText(const std::string& stream, const StreamEvent& event);

/// As people read it: "3 s", less than one as "0.5 s".
std::string secondsText(double seconds);

} // namespace Morvalin::App

#include "session/EventText.h"

#include <cstdio>

#include <morvalincore/Log.h>

namespace Morvalin::App {

namespace {

using Kind = StreamEvent::Kind;

std::string behind(const std::string& text, const std::string& reason) {
    return reason.empty() ? text : text + ": " + reason;
}

/// The name is mostly that of the definition file.
std::string toolName(const TrackerID& tool) {
    return tool.name.empty() || tool.name == tool.ID ? tool.ID : tool.ID + " (" + tool.name + ")";
}

} // namespace

std::string secondsText(double seconds) {
    char text[64];
    std::snprintf(text, sizeof text, seconds < 0.95 ? "%.1f s" : "%.0f s", seconds);
    return text;
}

EventText eventText(const std::string& stream, const StreamEvent& event) {
    switch (event.kind) {
    case Kind::Stalled:
        return {Log::Warning,
                behind(stream + ": no data for " + secondsText(event.gap), event.reason)};
    case Kind::Resumed:
        return {Log::Information, stream + ": data again after " + secondsText(event.gap)};
    case Kind::Reconnecting:
        return {Log::Warning, behind(stream + ": opening again in " + secondsText(event.pause) +
                                         ", try " + std::to_string(event.attempt),
                                     event.reason)};
    case Kind::Tool:
        if (event.isActive)
            return {Log::Information, stream + ": tool " + toolName(event.tool) + " is in use"};
        return {Log::Warning, stream + ": tool " + toolName(event.tool) +
                                  " was disabled by the device and gives no poses until the "
                                  "stream is closed and opened again"};
    default:
        return {Log::Information, {}};
    }
}

} // namespace Morvalin::App

#include "session/StopNotice.h"

#include <algorithm>

namespace Morvalin::App {

namespace {

const char* activityOf(Stream::State state) {
    static constexpr const char* texts[] = {"closed",   "opening", "open",   "starting",
                                            "tracking", "pausing", "paused", "resuming",
                                            "stopping", "closing"};
    return texts[state];
}

std::string describe(const StreamSession& session, const std::string& place) {
    std::string text = session.label() + " (" + activityOf(session.stream().state());
    if (!place.empty())
        text += ", " + place;
    return text + ")";
}

} // namespace

std::string stopNotice(const Sessions& sessions) {
    std::string names;
    std::chrono::seconds longest{0};
    bool isBounded = true;
    for (const auto& session : sessions) {
        if (session->stream().state() == Stream::Closed)
            continue;
        const Diagnosable::Waiting waiting = session->waiting();
        names += (names.empty() ? "" : ", ") + describe(*session, waiting.what);
        longest = std::max(longest, waiting.atMost);
        isBounded = isBounded && waiting.atMost.count() > 0;
    }
    if (names.empty())
        return "stopping";
    return "stopping; waiting for " + names +
           (isBounded ? ", up to " + std::to_string(longest.count()) + " s" : "") +
           "; press Ctrl-C again to end at once";
}

} // namespace Morvalin::App

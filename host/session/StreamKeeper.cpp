#include "session/StreamKeeper.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include <morvalincore/LogText.h>

#include "session/EventText.h"

namespace Morvalin::App {

namespace {

constexpr StreamKeeper::Seconds watchPeriod{0.1};

StreamKeeper::Seconds pauseBefore(unsigned attempt) {
    return std::min(StreamKeeper::longestPause,
                    StreamKeeper::firstPause * std::exp2(std::min(attempt, 9u) - 1.0));
}

std::string reasonOf(StreamKeeper::Outcome outcome, const StreamStatus& status) {
    using Outcome = StreamKeeper::Outcome;
    const std::chrono::duration<double> quiet = status.quiet;
    const std::string what = outcome == Outcome::Running
                                 ? "no data for " + secondsText(quiet.count())
                             : outcome == Outcome::NotOpened ? "did not open"
                                                             : "did not start";
    return status.reason.empty() ? what : what + ": " + status.reason;
}

} // namespace

void StreamKeeper::keepUp(std::optional<Seconds> reconnectAfter) {
    settings = session.configured();
    Outcome outcome = session.bringUp(surroundings.isEnding);
    surroundings.settled(outcome);
    while (reconnectAfter && !lasts(outcome, *reconnectAfter)) {
        noteFrames();
        const Seconds pause = pauseBefore(++attempt);
        announce(outcome, pause);
        session.stream().close();
        if (surroundings.isEndingWithin(pause))
            return;
        session.restore(settings);
        outcome = session.bringUp(surroundings.isEnding);
    }
}

/// Waits until the stream has to be brought back; true when all is to end before.
bool StreamKeeper::lasts(Outcome outcome, Seconds longestQuiet) const {
    while (!surroundings.isEndingWithin(watchPeriod)) {
        if (!surroundings.isWanted())
            continue;
        const StreamStatus status = session.status();
        // That it stands still is told first.
        if (outcome != Outcome::Running || (status.isStalled && status.quiet >= longestQuiet))
            return false;
    }
    return true;
}

/// A device may have set up by itself what else a new try would lose, such as the main instrument.
void StreamKeeper::noteFrames() {
    const std::uint64_t now = session.status().frames;
    if (now == std::exchange(frames, now))
        return;
    attempt = 0;
    try {
        settings = session.configuration();
    } catch (const std::exception& exception) {
        logText(Log::Warning, "Host", session.label(),
                ": its settings could not be read: ", exception.what());
    }
}

void StreamKeeper::announce(Outcome outcome, Seconds pause) {
    const StreamStatus status = session.status();
    StreamEvent event;
    event.kind = StreamEvent::Kind::Reconnecting;
    event.attempt = attempt;
    event.pause = pause.count();
    event.gap = std::chrono::duration<double>(status.gap).count();
    event.reason = reasonOf(outcome, status);
    session.watch().tell(std::move(event));
}

} // namespace Morvalin::App

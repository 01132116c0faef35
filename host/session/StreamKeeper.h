#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

#include "session/StreamSession.h"

namespace Morvalin::App {

/// Brings one stream up and, if wanted, back: one that stands still or did not come up is closed,
/// and after a pause opened and started again, as often as it takes.
class StreamKeeper {
public:
    using Seconds = std::chrono::duration<double>;
    using Outcome = StreamSession::Outcome;

    /// Pauses double from the first try to the longest, and begin anew after a frame.
    static constexpr Seconds firstPause{1.0};
    static constexpr Seconds longestPause{30.0};

    /// What it needs from whoever runs streams. Functions are called on the keeper's thread.
    struct Surroundings {
        const std::atomic<bool>& isEnding;
        /// Waits so long; true as soon as all is to end.
        std::function<bool(Seconds)> isEndingWithin;
        /// What became of the first try.
        std::function<void(Outcome)> settled;
        /// Frames are still wanted.
        std::function<bool()> isWanted;
    };

    StreamKeeper(StreamSession& kept, Surroundings runSurroundings) :
        session(kept), surroundings(std::move(runSurroundings)) {}

    /// Brings the stream up. With a time, goes on until all is to end and brings the stream back
    /// whenever it has run for so long without a frame. Called once, on a thread of its own.
    void keepUp(std::optional<Seconds> reconnectAfter);

private:
    bool lasts(Outcome outcome, Seconds longestQuiet) const;
    void noteFrames();
    void announce(Outcome outcome, Seconds pause);

    StreamSession& session;
    const Surroundings surroundings;
    std::uint64_t frames = 0; ///< of the stream, at the last try
    unsigned attempt = 0;
    Properties settings; ///< with which the stream last handed out frames, or was to
};

} // namespace Morvalin::App

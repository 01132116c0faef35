#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <morvalinstream/Stream.h>
#include <morvalinstream/StreamEvent.h>

namespace Morvalin::App {

/// What a stream is doing, since when, and what went wrong last.
struct StreamStatus {
    using Clock = std::chrono::steady_clock;
    enum class Failure { None, Opening, Starting };
    enum class Condition {
        Closed,
        Opening,
        Open,        ///< and does not run
        Tracking,    ///< runs, and hands out frames or has not had the time to
        NoData,      ///< runs, but there are no frames
        NotAnswering ///< likewise, and there are errors instead
    };

    Stream::State state = Stream::Closed;
    Condition condition = Condition::Closed;
    Clock::time_point since{};       ///< when it came into that state
    Clock::time_point attemptedAt{}; ///< when it was last opened or started, or that was tried
    Failure failure = Failure::None;
    Clock::duration failedAfter{}; ///< how long the failed operation took
    std::string reason;            ///< the last error since the last frame; empty: none
    std::uint64_t frames = 0;      ///< that it has ever handed out
    /// It stands still: it ran or was to run, and there were no frames for too long, or it is
    /// opened anew for want of them and has not handed one out yet.
    bool isStalled = false;
    /// Since the last frame, or since it could have handed out the first one; over the tries to
    /// bring it back, until somebody else opens it. 0 while a frame is being received.
    Clock::duration gap{};
    /// That part of the gap in which it has been running without a break.
    Clock::duration quiet{};

    bool isRemoving = false;
    double framesPerSecond = 0.0;

    /// An operation is under way.
    bool isBusy() const;
};

/// Works out the condition of one stream from what is said of it: the only place that does. Time is
/// an argument everywhere and must not go back. One thread at a time.
class StreamCondition {
public:
    using Clock = StreamStatus::Clock;
    using Event = std::optional<StreamEvent>;

    static constexpr Clock::duration usualPatience = std::chrono::seconds(3);
    /// How often it is told that a stream is still being opened.
    static constexpr Clock::duration openingReportPeriod = std::chrono::seconds(5);

    /// How long a stream may run without a frame before it counts as stalled.
    void setPatience(Clock::duration longest) { patience = longest; }

    // What happened. The result is to be told, without a time stamp.

    Event onState(const Stream::StateChange& change, Clock::time_point now);
    /// A frame is handed out, and its receivers have returned: the stream has to wait for them, so
    /// that time in between is not its own.
    Event onFrame(Clock::time_point now);
    void onFrameReceived(Clock::time_point now);
    /// The stream wrote an error to the log.
    void onError(const std::string& text) { current.reason = text; }
    /// Somebody is about to close the stream and open it again for want of frames.
    void onReconnecting() { isBeingClosed = isReconnecting = current.isStalled = true; }
    /// To be called a few times a second.
    Event onTime(Clock::time_point now);

    /// Once in every period of opening: how long it has taken so far.
    std::optional<std::chrono::seconds> openingReport(Clock::time_point now);

    /// Without removal and frame rate, which are not the stream's own.
    StreamStatus status(Clock::time_point now) const;

private:
    void recordFailure(const Stream::StateChange& change, Clock::time_point now);
    void beginAttempt(bool opens, Clock::time_point now);
    void beginGap(Clock::time_point now);
    Clock::duration gap(Clock::time_point now) const;
    Clock::duration quiet(Clock::time_point now) const;
    StreamStatus::Condition condition() const;
    StreamEvent makeEvent(StreamEvent::Kind kind, Clock::time_point now) const;

    Clock::duration patience = usualPatience;
    StreamStatus current; ///< what depends on the time is left out
    std::optional<Clock::time_point> gapBegin;
    bool isReceiving = false;
    bool isReconnecting = false;
    bool isBeingClosed = false; ///< from there until it is opened again
    std::int64_t openingReports = 0;
};

} // namespace Morvalin::App

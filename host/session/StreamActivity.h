#pragma once

#include <chrono>
#include <mutex>

#include <morvalinstream/Stream.h>

namespace Morvalin::App {

/// What a stream is doing, since when, and what went wrong last.
struct StreamStatus {
    using Clock = std::chrono::steady_clock;
    enum class Failure { None, Opening, Starting };

    Stream::State state = Stream::Closed;
    Clock::time_point since{};       ///< when it came into that state
    Clock::time_point attemptedAt{}; ///< when it was last opened or started, or that was tried
    Failure failure = Failure::None;
    Clock::duration failedAfter{}; ///< how long the failed operation took
    bool isRemoving = false;
    double framesPerSecond = 0.0;

    /// An operation is under way.
    bool isBusy() const;
};

/// Follows a stream's changes of state on the threads that announce them. Any thread.
class StreamActivity {
public:
    using Clock = StreamStatus::Clock;

    void record(const Stream::StateChange& change, Clock::time_point now);
    /// Without removal and frame rate, which are not the stream's own.
    StreamStatus status() const;

private:
    mutable std::mutex mutex;
    StreamStatus current;
};

} // namespace Morvalin::App

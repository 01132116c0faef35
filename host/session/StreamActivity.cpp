#include "session/StreamActivity.h"

namespace Morvalin::App {

namespace {

using Failure = StreamStatus::Failure;

bool beginsAttempt(const Stream::StateChange& change) {
    return change.to == Stream::Opening || change.to == Stream::Starting;
}

/// A failure counts until the next attempt.
Failure failureAfter(const Stream::StateChange& change, Failure former) {
    if (change.from == Stream::Opening && change.to == Stream::Closed)
        return Failure::Opening;
    if (change.from == Stream::Starting && change.to == Stream::Open)
        return Failure::Starting;
    return beginsAttempt(change) ? Failure::None : former;
}

} // namespace

bool StreamStatus::isBusy() const {
    return isRemoving || (state != Stream::Closed && state != Stream::Open &&
                          state != Stream::Running && state != Stream::Paused);
}

void StreamActivity::record(const Stream::StateChange& change, Clock::time_point now) {
    const std::lock_guard lock(mutex);
    const Failure failure = failureAfter(change, current.failure);
    if (failure != Failure::None && current.failure == Failure::None)
        current.failedAfter = now - current.since;
    current.failure = failure;
    current.state = change.to;
    current.since = now;
    if (beginsAttempt(change))
        current.attemptedAt = now;
}

StreamStatus StreamActivity::status() const {
    const std::lock_guard lock(mutex);
    return current;
}

} // namespace Morvalin::App

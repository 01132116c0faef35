#include "session/StreamCondition.h"

#include <algorithm>
#include <utility>

namespace Morvalin::App {

namespace {

using Failure = StreamStatus::Failure;
using Kind = StreamEvent::Kind;

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

void StreamCondition::recordFailure(const Stream::StateChange& change, Clock::time_point now) {
    const Failure failure = failureAfter(change, current.failure);
    if (failure != Failure::None && current.failure == Failure::None) {
        current.failedAfter = now - current.since;
        beginGap(now);
    }
    current.failure = failure;
}

void StreamCondition::beginAttempt(bool opens, Clock::time_point now) {
    current.attemptedAt = now;
    openingReports = 0;
    isBeingClosed = false;
    if (isReconnecting)
        return;
    gapBegin.reset(); // what was before is over
    current.isStalled = false;
    if (opens)
        current.reason.clear();
}

StreamCondition::Event StreamCondition::onState(const Stream::StateChange& change,
                                                Clock::time_point now) {
    recordFailure(change, now);
    current.state = change.to;
    current.since = now;
    if (beginsAttempt(change))
        beginAttempt(change.to == Stream::Opening, now);
    if (change.to == Stream::Running)
        beginGap(now);
    if (change.from == Stream::Opening && change.to == Stream::Open)
        return makeEvent(Kind::Opened, now);
    if (change.to == Stream::Closed)
        return makeEvent(Kind::Closed, now);
    return std::nullopt;
}

StreamCondition::Event StreamCondition::onFrame(Clock::time_point now) {
    if (isBeingClosed) { // too late to change that
        gapBegin = now;
        return std::nullopt;
    }
    Event event;
    if (std::exchange(current.isStalled, false))
        event = makeEvent(Kind::Resumed, now);
    ++current.frames;
    current.reason.clear();
    gapBegin = now;
    isReceiving = true;
    isReconnecting = false;
    return event;
}

void StreamCondition::onFrameReceived(Clock::time_point now) {
    gapBegin = now;
    isReceiving = false;
}

StreamCondition::Event StreamCondition::onTime(Clock::time_point now) {
    if (current.isStalled || quiet(now) < patience)
        return std::nullopt;
    current.isStalled = true;
    return makeEvent(Kind::Stalled, now);
}

std::optional<std::chrono::seconds> StreamCondition::openingReport(Clock::time_point now) {
    if (current.state != Stream::Opening)
        return std::nullopt;
    const std::int64_t due = (now - current.since) / openingReportPeriod;
    if (due <= std::exchange(openingReports, due))
        return std::nullopt;
    return std::chrono::duration_cast<std::chrono::seconds>(now - current.since);
}

StreamStatus StreamCondition::status(Clock::time_point now) const {
    StreamStatus status = current;
    status.condition = condition();
    status.gap = gap(now);
    status.quiet = quiet(now);
    return status;
}

void StreamCondition::beginGap(Clock::time_point now) {
    if (!gapBegin)
        gapBegin = now;
}

StreamCondition::Clock::duration StreamCondition::gap(Clock::time_point now) const {
    return gapBegin && !isReceiving ? now - *gapBegin : Clock::duration::zero();
}

StreamCondition::Clock::duration StreamCondition::quiet(Clock::time_point now) const {
    const bool isRunning = current.state == Stream::Running;
    return isRunning ? std::min(gap(now), now - current.since) : Clock::duration::zero();
}

StreamStatus::Condition StreamCondition::condition() const {
    using Condition = StreamStatus::Condition;
    switch (current.state) {
    case Stream::Closed:
        return Condition::Closed;
    case Stream::Opening:
        return Condition::Opening;
    case Stream::Running:
        if (!current.isStalled)
            return Condition::Tracking;
        return current.reason.empty() ? Condition::NoData : Condition::NotAnswering;
    default:
        return Condition::Open;
    }
}

StreamEvent StreamCondition::makeEvent(StreamEvent::Kind kind, Clock::time_point now) const {
    StreamEvent event;
    event.kind = kind;
    event.gap = std::chrono::duration<double>(gap(now)).count();
    if (kind != Kind::Opened && kind != Kind::Resumed)
        event.reason = current.reason;
    return event;
}

} // namespace Morvalin::App

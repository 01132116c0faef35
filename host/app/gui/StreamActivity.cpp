#include "app/gui/StreamActivity.h"

#include <QCoreApplication>

namespace Morvalin::App {

namespace {

QString translate(const char* text) {
    return QCoreApplication::translate("StreamStatus", text);
}

bool beginsAttempt(const Stream::StateChange& change) {
    return change.to == Stream::Opening || change.to == Stream::Starting;
}

/// A failure counts until the next attempt.
StreamStatus::Failure failureAfter(const Stream::StateChange& change,
                                   StreamStatus::Failure former) {
    if (change.from == Stream::Opening && change.to == Stream::Closed)
        return StreamStatus::Failure::Opening;
    if (change.from == Stream::Starting && change.to == Stream::Open)
        return StreamStatus::Failure::Starting;
    return beginsAttempt(change) ? StreamStatus::Failure::None : former;
}

QString runningText(const StreamStatus& status, StreamStatus::Clock::time_point now) {
    constexpr std::chrono::seconds grace{1};
    if (status.framesPerSecond > 0.0)
        return translate("Tracking, %1 frames/s").arg(qRound(status.framesPerSecond));
    return now - status.since < grace ? translate("Tracking") : translate("Tracking, but no data");
}

QString restingText(const StreamStatus& status) {
    if (status.failure == StreamStatus::Failure::None)
        return status.shortText();
    const QString text = status.failure == StreamStatus::Failure::Opening
                             ? translate("Closed – opening failed")
                             : translate("Open – starting failed");
    return status.failedAfter < std::chrono::seconds(1)
               ? text
               : translate("%1 after %2").arg(text, durationText(status.failedAfter));
}

} // namespace

QString durationText(std::chrono::steady_clock::duration duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
    if (seconds < 60)
        return translate("%1 s").arg(seconds);
    return translate("%1:%2 min").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

bool StreamStatus::isBusy() const {
    return isRemoving || (state != Stream::Closed && state != Stream::Open &&
                          state != Stream::Running && state != Stream::Paused);
}

QString StreamStatus::shortText() const {
    if (isRemoving)
        return translate("Removing");
    switch (state) {
    case Stream::Closed:
        return translate("Closed");
    case Stream::Opening:
        return translate("Opening");
    case Stream::Open:
        return translate("Open, not tracking");
    case Stream::Starting:
        return translate("Starting");
    case Stream::Running:
        return translate("Tracking");
    case Stream::Pausing:
        return translate("Pausing");
    case Stream::Paused:
        return translate("Paused");
    case Stream::Resuming:
        return translate("Resuming");
    case Stream::Stopping:
        return translate("Stopping");
    case Stream::Closing:
        return translate("Closing");
    }
    return {};
}

QString StreamStatus::text(Clock::time_point now) const {
    if (isRemoving && state == Stream::Opening)
        return translate("Removing – waiting for the device, %1").arg(durationText(now - since));
    if (isBusy())
        return translate("%1 … %2").arg(shortText(), durationText(now - since));
    return state == Stream::Running ? runningText(*this, now) : restingText(*this);
}

void StreamActivity::record(const Stream::StateChange& change, Clock::time_point now) {
    const std::lock_guard lock(mutex);
    const StreamStatus::Failure failure = failureAfter(change, current.failure);
    if (failure != StreamStatus::Failure::None && current.failure == StreamStatus::Failure::None)
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

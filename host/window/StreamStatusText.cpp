#include "window/StreamStatusText.h"

#include <QCoreApplication>

namespace Morvalin::App {

namespace {

QString translate(const char* text) {
    return QCoreApplication::translate("StreamStatus", text);
}

/// Seconds as "4 s", from a minute on as "1:07 min".
QString durationText(std::chrono::steady_clock::duration duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
    if (seconds < 60)
        return translate("%1 s").arg(seconds);
    return translate("%1:%2 min").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

/// The operation or state alone.
QString shortText(const StreamStatus& status) {
    static constexpr const char* texts[] = {
        "Closed",  "Opening", "Open, not tracking", "Starting", "Tracking",
        "Pausing", "Paused",  "Resuming",           "Stopping", "Closing"};
    return translate(status.isRemoving ? "Removing" : texts[status.state]);
}

QString runningText(const StreamStatus& status, StreamStatus::Clock::time_point now) {
    constexpr std::chrono::seconds grace{1};
    if (status.framesPerSecond > 0.0)
        return translate("Tracking, %1 frames/s").arg(qRound(status.framesPerSecond));
    return now - status.since < grace ? translate("Tracking") : translate("Tracking, but no data");
}

QString restingText(const StreamStatus& status) {
    if (status.failure == StreamStatus::Failure::None)
        return shortText(status);
    const QString text = status.failure == StreamStatus::Failure::Opening
                             ? translate("Closed – opening failed")
                             : translate("Open – starting failed");
    return status.failedAfter < std::chrono::seconds(1)
               ? text
               : translate("%1 after %2").arg(text, durationText(status.failedAfter));
}

} // namespace

QString statusText(const StreamStatus& status, StreamStatus::Clock::time_point now) {
    if (status.isRemoving && status.state == Stream::Opening)
        return translate("Removing – waiting for the device, %1")
            .arg(durationText(now - status.since));
    if (status.isBusy())
        return translate("%1 … %2").arg(shortText(status), durationText(now - status.since));
    return status.state == Stream::Running ? runningText(status, now) : restingText(status);
}

} // namespace Morvalin::App

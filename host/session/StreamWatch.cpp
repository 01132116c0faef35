#include "session/StreamWatch.h"

#include <utility>

#include <morvalincore/LogText.h>

#include "session/EventText.h"

namespace Morvalin::App {

namespace {

std::int64_t millisecondsNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/// The text names the stream, so that the line does not have to.
void logAsHost(int level, const std::string& text) {
    static const std::string nobody;
    const Log::Source source(nobody);
    logText(level, "Host", text);
}

} // namespace

void StreamWatch::setReceiver(Receiver eventReceiver) {
    const std::lock_guard order(telling);
    receiver = std::move(eventReceiver);
}

void StreamWatch::setPatience(std::chrono::duration<double> longest) {
    const std::lock_guard lock(mutex);
    condition.setPatience(std::chrono::duration_cast<Clock::duration>(longest));
}

void StreamWatch::onState(const Stream::StateChange& change) {
    const std::lock_guard order(telling);
    tellIfAny([&] {
        const std::lock_guard lock(mutex);
        return condition.onState(change, Clock::now());
    }());
}

void StreamWatch::onFrame(const std::function<void()>& receive) {
    struct Received {
        StreamWatch& watch;
        ~Received() {
            const std::lock_guard lock(watch.mutex);
            watch.condition.onFrameReceived(Clock::now());
        }
    };
    {
        const std::lock_guard order(telling);
        tellIfAny([&] {
            const std::lock_guard lock(mutex);
            return condition.onFrame(Clock::now());
        }());
    }
    const Received received{*this};
    receive();
}

void StreamWatch::onError(const std::string& text) {
    const std::lock_guard lock(mutex);
    condition.onError(text);
}

void StreamWatch::tell(StreamEvent event) {
    const std::lock_guard order(telling);
    if (event.kind == StreamEvent::Kind::Reconnecting) {
        const std::lock_guard lock(mutex);
        condition.onReconnecting();
    }
    tellIfAny(std::move(event));
}

void StreamWatch::tick(const std::function<std::string()>& waitsFor) {
    const std::lock_guard order(telling);
    std::optional<std::chrono::seconds> opening;
    tellIfAny([&] {
        const std::lock_guard lock(mutex);
        opening = condition.openingReport(Clock::now());
        return condition.onTime(Clock::now());
    }());
    if (!opening)
        return;
    const std::string place = waitsFor();
    logAsHost(Log::Information, "opening " + label + ": " + std::to_string(opening->count()) +
                                    " s" + (place.empty() ? "" : ", waiting for " + place));
}

StreamStatus StreamWatch::status() const {
    const std::lock_guard lock(mutex);
    return condition.status(Clock::now());
}

void StreamWatch::tellIfAny(StreamCondition::Event event) {
    if (!event)
        return;
    event->timestamp = millisecondsNow();
    const EventText line = eventText(label, *event);
    if (!line.text.empty())
        logAsHost(line.level, line.text);
    if (receiver)
        receiver(*event);
}

} // namespace Morvalin::App

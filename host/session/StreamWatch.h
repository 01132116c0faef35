#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

#include "session/StreamCondition.h"

namespace Morvalin::App {

/// Keeps the condition of one stream up to date and tells what happens to it: as lines of the log,
/// and as events to whoever wants them. Any thread.
class StreamWatch {
public:
    /// Takes an event, on whichever thread it happens, one at a time.
    using Receiver = std::function<void(const StreamEvent& event)>;

    /// How the stream is called in the log. Before anything is told of it.
    void setLabel(const std::string& name) { label = name; }
    void setReceiver(Receiver eventReceiver);
    void setPatience(std::chrono::duration<double> longest);

    void onState(const Stream::StateChange& change);
    /// Calls `receive` for a frame that the stream hands out.
    void onFrame(const std::function<void()>& receive);
    /// The stream wrote an error to the log. May be called while a line is being logged.
    void onError(const std::string& text);
    /// Tells something that happened: Reconnecting or Tool.
    void tell(StreamEvent event);
    /// Notices what happens by time passing; to be called a few times a second. `waitsFor` says
    /// what the stream waits for at its device, if that is known.
    void tick(const std::function<std::string()>& waitsFor);

    StreamStatus status() const;

private:
    using Clock = StreamStatus::Clock;

    void tellIfAny(StreamCondition::Event event);

    std::string label;
    /// Held while something is found out and told, so that what is told is in order. The condition
    /// has a lock of its own, under which nothing is told.
    std::mutex telling;
    Receiver receiver;
    mutable std::mutex mutex;
    StreamCondition condition;
};

} // namespace Morvalin::App

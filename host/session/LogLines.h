#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <morvalincore/Log.h>

#include "session/LogThrottle.h"

namespace Morvalin::App {

/// The way of the log to somebody who reads it: says which stream wrote a line and keeps
/// repetitions from flooding. Takes the log's sink over while it exists; a former sink still gets
/// every line that the level of then lets through.
class LogLines {
public:
    using Receiver = std::function<void(const LogLine& line)>;

    /// `receiver` is called on any thread, by one at a time. It must neither log nor wait for
    /// somebody who does.
    explicit LogLines(Receiver receiver);
    /// Tells what is still held back and gives the sink back.
    ~LogLines();
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    /// Shows every line of the log to one more, before any is held back, on the thread that wrote
    /// it and under the same conditions as the receiver; nobody with an empty function. On return
    /// no call of the former observer is running.
    void observe(Receiver observer);

private:
    void take(int level, const std::string& category, const std::string& text);
    void write(const LogThrottle::Lines& lines) const noexcept;
    void tellCounts();

    const Receiver receive;
    Receiver show;
    const int firstLevel; ///< of the log, when the sink was taken over
    Log::Sink former;

    std::mutex mutex; ///< of what follows and of the calls of the receivers
    std::condition_variable changed;
    LogThrottle throttle;
    bool isEnding = false;
    std::thread counting;
};

/// The category as people read it: "NDI", or "NDI (Aurora at COM3)" while there are several
/// streams.
std::string categoryText(const LogLine& line);

} // namespace Morvalin::App

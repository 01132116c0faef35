#include "session/LogLines.h"

#include <utility>

#include "session/StreamSession.h"

namespace Morvalin::App {

LogLines::LogLines(Receiver receiver) :
    receive(std::move(receiver)), firstLevel(Log::level()), former(Log::setSink({})),
    counting([this] { tellCounts(); }) {
    Log::setSink([this](int level, const std::string& category, const std::string& text) {
        if (former && level >= firstLevel)
            former(level, category, text);
        take(level, category, text);
    });
}

LogLines::~LogLines() {
    Log::setSink(std::move(former));
    {
        const std::lock_guard lock(mutex);
        isEnding = true;
        changed.notify_all();
    }
    counting.join();
    write(throttle.takeDue(LogThrottle::Clock::time_point::max()));
}

void LogLines::observe(Receiver observer) {
    const std::lock_guard lock(mutex);
    show = std::move(observer);
}

void LogLines::take(int level, const std::string& category, const std::string& text) {
    const LogLine line{std::chrono::system_clock::now(), level, Log::source(), category, text,
                       StreamSession::count() > 1};
    const std::lock_guard lock(mutex);
    if (show)
        show(line);
    write(throttle.take(line, LogThrottle::Clock::now()));
    if (throttle.nextDue())
        changed.notify_all();
}

void LogLines::write(const LogThrottle::Lines& lines) const noexcept {
    try {
        for (const LogLine& line : lines)
            receive(line);
    } catch (...) {
        // A log that cannot be written must not take down what it reports on.
    }
}

/// On a thread of its own: nobody may log any more when a count is due.
void LogLines::tellCounts() {
    std::unique_lock lock(mutex);
    while (!isEnding) {
        if (const auto due = throttle.nextDue())
            changed.wait_until(lock, *due);
        else
            changed.wait(lock);
        write(throttle.takeDue(LogThrottle::Clock::now()));
    }
}

std::string categoryText(const LogLine& line) {
    if (line.source.empty() || !line.hasOthers)
        return line.category;
    return line.category + " (" + line.source + ")";
}

} // namespace Morvalin::App

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace Morvalin::App {

struct LogLine {
    std::chrono::system_clock::time_point time;
    int level = 0;
    std::string category;
    std::string text;
};

/// Log lines on their way from the threads that write them to the one that shows them. Any thread;
/// nobody waits for the display.
class LogBuffer {
public:
    /// Lines kept while the display does not collect them; the oldest give way.
    static constexpr std::size_t capacity = 5000;
    /// What is kept of a text; a message may carry whatever a device sent.
    static constexpr std::size_t longestText = 2000;

    /// `notify` is called on the thread that wrote a line when there is something to collect: once
    /// until it has been collected, so that a flood of lines is a single notice. It must not wait.
    explicit LogBuffer(std::function<void()> notify) : notifyDisplay(std::move(notify)) {}

    void append(int level, const std::string& category, const std::string& text);

    /// All lines since the last call, the oldest first, and how many more had to give way.
    struct Delivery {
        std::vector<LogLine> lines;
        std::uint64_t lost = 0;
    };
    Delivery take();

private:
    const std::function<void()> notifyDisplay;
    std::mutex mutex;
    std::deque<LogLine> waiting;
    std::uint64_t lost = 0;
    bool isNotified = false;
};

} // namespace Morvalin::App

#pragma once

#include "simulator/Exchange.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

/// What happened, for tests (the exchanges, in memory) and users (the traffic, in a file).
/// Thread-safe. The file has a line an event, each written out at once:
///
///     SECONDS > TEXT       received from the host
///     SECONDS < TEXT       sent to the host, or "hex " and digits for a binary reply
///     SECONDS ! TEXT       anything else: a connection, a break, a fault, ignored bytes
///
/// SECONDS count from the start, with six decimals. TEXT is escaped as escaped() does.
class Record {
public:
    /// An empty path writes no file. Throws StartError if the file cannot be written.
    Record(const std::filesystem::path& trace, std::size_t logLimit);

    void received(std::string_view bytes) { line('>', bytes); }
    void sent(std::string_view bytes) { line('<', bytes); }
    void event(std::string_view text) { line('!', text); }
    void fault(const std::string& text, bool hasEffect);
    void add(Exchange exchange);

    std::vector<Exchange> exchanges() const;
    std::size_t commandCount() const; ///< all since the start, forgotten ones included
    std::size_t faultCount() const;
    void clear(); ///< forgets the exchanges

    /// As Simulator::isTraceComplete.
    bool isTraceComplete() const;

    /// As Simulator::waitForCommand.
    bool waitForCommand(const std::string& prefix, std::chrono::milliseconds limit) const;

private:
    void line(char direction, std::string_view bytes);

    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    const std::size_t m_logLimit;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_added;
    std::ofstream m_trace;
    std::deque<Exchange> m_log;
    std::size_t m_commandCount = 0;
    std::size_t m_faultCount = 0;
};

} // namespace ndisim

#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace ndisim {

/// The record of the traffic in a file, a line an event, each written out at once:
///
///     SECONDS > TEXT       received from the host
///     SECONDS < TEXT       sent to the host, or "hex " and digits for a binary reply
///     SECONDS ! TEXT       anything else: a connection, a break, a fault, ignored bytes
///
/// SECONDS count from the start, with six decimals. TEXT is escaped as escaped() does.
class Trace {
public:
    /// An empty path records nothing. Throws StartError if the file cannot be written.
    explicit Trace(const std::filesystem::path& file);

    void received(std::string_view bytes) { line('>', bytes); }
    void sent(std::string_view bytes) { line('<', bytes); }
    void event(std::string_view text) { line('!', text); }

    std::chrono::nanoseconds elapsed() const { return std::chrono::steady_clock::now() - m_start; }

private:
    void line(char direction, std::string_view bytes);

    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::ofstream m_file;
};

} // namespace ndisim

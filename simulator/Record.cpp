#include "simulator/Record.h"

#include "simulator/SimulatorOptions.h"
#include "simulator/Texts.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace ndisim {

Record::Record(const std::filesystem::path& trace, std::size_t logLimit) : m_logLimit(logLimit) {
    if (trace.empty()) {
        return;
    }
    m_trace.open(trace, std::ios::binary | std::ios::trunc);
    if (!m_trace) {
        throw StartError("cannot write the trace " + trace.string() + ": " + std::strerror(errno));
    }
}

void Record::fault(const std::string& text, bool hasEffect) {
    event("fault " + text + (hasEffect ? "" : " without effect"));
    const std::lock_guard lock(m_mutex);
    ++m_faultCount;
}

void Record::add(Exchange exchange) {
    const std::lock_guard lock(m_mutex);
    ++m_commandCount;
    m_log.push_back(std::move(exchange));
    if (m_log.size() > m_logLimit) {
        m_log.pop_front();
    }
    m_added.notify_all();
}

std::vector<Exchange> Record::exchanges() const {
    const std::lock_guard lock(m_mutex);
    return {m_log.begin(), m_log.end()};
}

std::size_t Record::commandCount() const {
    const std::lock_guard lock(m_mutex);
    return m_commandCount;
}

std::size_t Record::faultCount() const {
    const std::lock_guard lock(m_mutex);
    return m_faultCount;
}

void Record::clear() {
    const std::lock_guard lock(m_mutex);
    m_log.clear();
}

// A stream that has failed stays so.
bool Record::isTraceComplete() const {
    const std::lock_guard lock(m_mutex);
    return m_trace.good();
}

bool Record::waitForCommand(const std::string& prefix, std::chrono::milliseconds limit) const {
    std::unique_lock lock(m_mutex);
    return m_added.wait_for(lock, limit, [&] {
        return std::ranges::any_of(
            m_log, [&](const Exchange& exchange) { return exchange.command.starts_with(prefix); });
    });
}

void Record::line(char direction, std::string_view bytes) {
    if (!m_trace.is_open()) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    char time[32];
    const auto elapsed = std::chrono::steady_clock::now() - m_start;
    std::snprintf(time, sizeof time, "%.6f", std::chrono::duration<double>(elapsed).count());
    const bool isBinary = bytes.starts_with("\xC4\xA5");
    m_trace << time << ' ' << direction << ' '
            << (isBinary ? "hex " + hexBytes(bytes) : escaped(bytes)) << '\n'
            << std::flush;
}

} // namespace ndisim

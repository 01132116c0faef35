#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace protocol {

// A binary semaphore, first come first served. One side gives what the other has taken, so a mutex
// will not do; and the reader thread takes it again the moment it has given it, so without an order
// the application side would wait for seconds.
class RunSemaphore {
public:
    void take() {
        std::unique_lock lock(m_mutex);
        const std::uint64_t turn = m_nextTurn++;
        m_given.wait(lock, [this, turn] { return m_servedTurn == turn; });
    }

    void give() {
        const std::lock_guard lock(m_mutex);
        ++m_servedTurn;
        m_given.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_given;
    std::uint64_t m_nextTurn = 0;
    std::uint64_t m_servedTurn = 0;
};

// An event that one wait consumes. It keeps until somebody waits; set again meanwhile, it is one.
class AutoResetEvent {
public:
    void set() {
        const std::lock_guard lock(m_mutex);
        m_isSet = true;
        m_changed.notify_one();
    }

    // False when the time passed first.
    bool waitFor(std::chrono::milliseconds limit) {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, limit, [this] { return m_isSet; })) {
            return false;
        }
        m_isSet = false;
        return true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isSet = false;
};

} // namespace protocol

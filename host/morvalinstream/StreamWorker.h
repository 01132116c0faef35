#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace Morvalin {

class Stream;

/// The thread that calls a stream's doWork(), from one start to the next stop. Everything but
/// isThisThread() is called by the operation that has its turn.
class StreamWorker {
public:
    explicit StreamWorker(Stream& owner);
    ~StreamWorker();
    StreamWorker(const StreamWorker&) = delete;
    StreamWorker& operator=(const StreamWorker&) = delete;

    /// Makes the thread, at rest. False, with a log line, when the system has none to give.
    bool prepare();
    void work();
    /// On return doWork() is not running and will not be called until work().
    void rest();
    /// Ends the thread: after the running doWork(), at once when it waits.
    void finish();

    bool isThisThread() const;

private:
    using Deadline = std::optional<std::chrono::steady_clock::time_point>;
    enum class Order { Rest, Work, End };

    void give(Order next);
    void run();
    Deadline step();
    Deadline callStream();
    void logFailure(const char* reason) const;

    Stream& stream;
    std::mutex mutex;
    std::condition_variable changed;
    Order order = Order::Rest;
    bool isWorking = false;
    std::thread thread;
    std::atomic<std::thread::id> threadId{};
};

} // namespace Morvalin

#pragma once

#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

namespace Morvalin {

class Stream;
class StreamWorker;

enum class StreamOperation : int { Open, Start, Stop, Close, Pause, Resume };

/// Gives a stream's operations their turn: one at a time, in the order in which they were asked
/// for, some on the caller's thread and some on a thread of its own.
class StreamOperations {
public:
    StreamOperations(Stream& owner, const StreamWorker& streamWorker);
    /// Cancels what is queued and waits for what runs, as closeForGood() does.
    ~StreamOperations();
    StreamOperations(const StreamOperations&) = delete;
    StreamOperations& operator=(const StreamOperations&) = delete;

    /// Waits for its turn and operates on this thread. On a thread that the stream itself is using
    /// right now it only queues the operation and returns true.
    bool run(StreamOperation operation);
    /// Queues the operation for the own thread.
    std::future<bool> runAsync(StreamOperation operation);

    /// Cancels what is queued, waits for what runs, then closes the stream. Whatever is asked for
    /// from the call's beginning is refused.
    void closeForGood();

private:
    struct Entry {
        StreamOperation operation;
        bool isAsync;
        bool isCancelled = false;
        std::promise<bool> result = {};
    };
    using EntryPointer = std::shared_ptr<Entry>;
    using Lock = std::unique_lock<std::mutex>;

    // All of these expect the lock to be held.
    bool isUsedByStream(const Lock& lock) const;
    bool hasOwnThread(const Lock& lock);
    EntryPointer enqueue(const Lock& lock, StreamOperation operation, bool isAsync);
    void cancelWaiting(const Lock& lock, bool keepsCloses);
    bool operate(Lock& lock, StreamOperation operation);
    void refuseFurther(Lock& lock);

    void runQueued();

    Stream& stream;
    const StreamWorker& worker;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<EntryPointer> queue; ///< the front one has its turn
    std::thread::id operatingThread;
    int callers = 0; ///< threads that wait for their turn or operate inside run()
    bool isEnding = false;
    std::thread ownThread; ///< made when first needed
};

} // namespace Morvalin

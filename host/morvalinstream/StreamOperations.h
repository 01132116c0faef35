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
    /// Cancels what is queued and waits for what runs.
    ~StreamOperations();
    StreamOperations(const StreamOperations&) = delete;
    StreamOperations& operator=(const StreamOperations&) = delete;

    /// Waits for its turn and operates on this thread. On a thread that the stream itself is using
    /// right now it only queues the operation and returns true.
    bool run(StreamOperation operation);
    /// Queues the operation for the own thread.
    std::future<bool> runAsync(StreamOperation operation);

private:
    struct Entry {
        StreamOperation operation;
        bool isAsync;
        bool isCancelled = false;
        std::promise<bool> result = {};
    };
    using EntryPointer = std::shared_ptr<Entry>;
    using Lock = std::unique_lock<std::mutex>;

    bool isUsedByStream() const;
    EntryPointer enqueue(const Lock& lock, StreamOperation operation, bool isAsync);
    void cancelWaiting(const Lock& lock, bool keepsCloses);
    bool operate(Lock& lock, StreamOperation operation);
    void runQueued();

    Stream& stream;
    const StreamWorker& worker;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::deque<EntryPointer> queue; ///< the front one has its turn
    std::thread::id operatingThread;
    bool isEnding = false;
    std::thread ownThread; ///< made when first needed
};

} // namespace Morvalin

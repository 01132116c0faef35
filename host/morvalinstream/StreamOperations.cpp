#include "StreamOperations.h"

#include <string>
#include <system_error>

#include <morvalincore/Log.h>
#include <morvalinstream/Stream.h>

#include "StreamWorker.h"

namespace Morvalin {

StreamOperations::StreamOperations(Stream& owner, const StreamWorker& streamWorker) :
    stream(owner), worker(streamWorker) {}

StreamOperations::~StreamOperations() {
    {
        const Lock lock(mutex);
        isEnding = true;
        cancelWaiting(lock, false);
    }
    if (ownThread.joinable())
        ownThread.join();
}

bool StreamOperations::run(StreamOperation operation) {
    if (isUsedByStream()) {
        runAsync(operation);
        return true;
    }
    Lock lock(mutex);
    const EntryPointer entry = enqueue(lock, operation, false);
    changed.wait(lock, [&] { return entry->isCancelled || queue.front() == entry; });
    return !entry->isCancelled && operate(lock, operation);
}

std::future<bool> StreamOperations::runAsync(StreamOperation operation) {
    const Lock lock(mutex);
    try {
        if (!ownThread.joinable())
            ownThread = std::thread([this] { runQueued(); });
    } catch (const std::system_error& error) {
        Log::log(Log::Error, "Stream",
                 stream.name() + ": no thread to operate on: " + std::string(error.what()));
        std::promise<bool> refused;
        refused.set_value(false);
        return refused.get_future();
    }
    return enqueue(lock, operation, true)->result.get_future();
}

bool StreamOperations::isUsedByStream() const {
    if (worker.isThisThread())
        return true;
    const Lock lock(mutex);
    return operatingThread == std::this_thread::get_id();
}

StreamOperations::EntryPointer StreamOperations::enqueue(const Lock& lock,
                                                         StreamOperation operation, bool isAsync) {
    if (operation == StreamOperation::Close)
        cancelWaiting(lock, true);
    auto entry = std::make_shared<Entry>(Entry{operation, isAsync});
    queue.push_back(entry);
    changed.notify_all();
    return entry;
}

void StreamOperations::cancelWaiting(const Lock&, bool keepsCloses) {
    const bool isRunning = operatingThread != std::thread::id();
    std::deque<EntryPointer> kept;
    for (const EntryPointer& entry : queue) {
        const bool hasItsTurn = isRunning && entry == queue.front();
        if (hasItsTurn || (keepsCloses && entry->operation == StreamOperation::Close)) {
            kept.push_back(entry);
            continue;
        }
        entry->isCancelled = true;
        entry->result.set_value(false);
    }
    queue.swap(kept);
    changed.notify_all();
}

bool StreamOperations::operate(Lock& lock, StreamOperation operation) {
    operatingThread = std::this_thread::get_id();
    lock.unlock();
    const bool hasSucceeded = stream.perform(operation);
    lock.lock();
    operatingThread = std::thread::id();
    queue.pop_front();
    changed.notify_all();
    return hasSucceeded;
}

void StreamOperations::runQueued() {
    Lock lock(mutex);
    for (;;) {
        const auto hasTurn = [this] { return !queue.empty() && queue.front()->isAsync; };
        changed.wait(lock, [&] { return isEnding || hasTurn(); });
        if (!hasTurn())
            return;
        const EntryPointer entry = queue.front();
        const bool hasSucceeded = operate(lock, entry->operation);
        entry->result.set_value(hasSucceeded);
    }
}

} // namespace Morvalin

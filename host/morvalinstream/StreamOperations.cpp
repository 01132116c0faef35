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
        Lock lock(mutex);
        refuseFurther(lock);
    }
    if (ownThread.joinable())
        ownThread.join();
}

bool StreamOperations::run(StreamOperation operation) {
    Lock lock(mutex);
    if (isEnding)
        return false;
    if (isUsedByStream(lock)) {
        if (hasOwnThread(lock))
            enqueue(lock, operation, true);
        return true;
    }
    const EntryPointer entry = enqueue(lock, operation, false);
    ++callers;
    changed.wait(lock, [&] { return entry->isCancelled || queue.front() == entry; });
    const bool hasSucceeded = !entry->isCancelled && operate(lock, operation);
    --callers;
    changed.notify_all();
    return hasSucceeded;
}

std::future<bool> StreamOperations::runAsync(StreamOperation operation) {
    const Lock lock(mutex);
    if (!isEnding && hasOwnThread(lock))
        return enqueue(lock, operation, true)->result.get_future();
    std::promise<bool> refused;
    refused.set_value(false);
    return refused.get_future();
}

void StreamOperations::closeForGood() {
    Lock lock(mutex);
    refuseFurther(lock);
    enqueue(lock, StreamOperation::Close, false);
    operate(lock, StreamOperation::Close);
}

void StreamOperations::refuseFurther(Lock& lock) {
    isEnding = true;
    cancelWaiting(lock, false);
    changed.wait(lock, [this] { return queue.empty() && callers == 0; });
}

bool StreamOperations::isUsedByStream(const Lock&) const {
    return worker.isThisThread() || operatingThread == std::this_thread::get_id();
}

bool StreamOperations::hasOwnThread(const Lock&) {
    try {
        if (!ownThread.joinable())
            ownThread = std::thread([this] { runQueued(); });
        return true;
    } catch (const std::system_error& error) {
        Log::log(Log::Error, "Stream",
                 stream.name() + ": no thread to operate on: " + std::string(error.what()));
        return false;
    }
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

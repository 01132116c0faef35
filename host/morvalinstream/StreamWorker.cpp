#include "StreamWorker.h"

#include <exception>
#include <string>
#include <system_error>

#include <morvalincore/LogText.h>
#include <morvalinstream/Stream.h>

#include "StreamPacing.h"

namespace Morvalin {

StreamWorker::StreamWorker(Stream& owner) : stream(owner) {}

StreamWorker::~StreamWorker() {
    finish();
}

bool StreamWorker::prepare() {
    order = Order::Rest;
    try {
        thread = std::thread([this] { run(); });
        return true;
    } catch (const std::system_error& error) {
        logText(Log::Error, "Stream", stream.name(), ": no thread to work on: ", error.what());
        return false;
    }
}

void StreamWorker::give(Order next) {
    const std::lock_guard lock(mutex);
    order = next;
    changed.notify_all();
}

void StreamWorker::work() {
    give(Order::Work);
}

void StreamWorker::rest() {
    give(Order::Rest);
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return !isWorking; });
}

void StreamWorker::finish() {
    give(Order::End);
    if (thread.joinable())
        thread.join();
}

bool StreamWorker::isThisThread() const {
    return threadId.load() == std::this_thread::get_id();
}

void StreamWorker::run() {
    const Log::Source source(stream.logName());
    threadId = std::this_thread::get_id();
    std::unique_lock lock(mutex);
    for (bool isDone = false; !isDone;) {
        changed.wait(lock, [this] { return order != Order::Rest; });
        if (order == Order::End)
            break;
        isWorking = true;
        lock.unlock();
        const Deadline next = step();
        lock.lock();
        isWorking = false;
        changed.notify_all();
        isDone = !next;
        if (next)
            changed.wait_until(lock, *next, [this] { return order != Order::Work; });
    }
    threadId = std::thread::id();
}

StreamWorker::Deadline StreamWorker::step() {
    try {
        return callStream();
    } catch (const std::exception& error) {
        logFailure(error.what());
    } catch (...) {
        logFailure("an unknown exception");
    }
    return std::nullopt;
}

void StreamWorker::logFailure(const char* reason) const {
    logText(Log::Error, "Stream", stream.name(),
            ": doWork failed and is not called again until the next start: ", reason);
}

StreamWorker::Deadline StreamWorker::callStream() {
    const ClockReading before = ClockReading::now();
    const std::optional<Stream::WorkContinuation> wish = stream.doWork();
    if (wish && wish->callAgain == 1)
        return nextCallTime(before, ClockReading::now(), wish->time);
    logText(Log::Warning, "Stream", stream.name(),
            ": doWork asked not to be called again until the next start");
    return std::nullopt;
}

} // namespace Morvalin

#include "protocol/reader_thread.h"

#include "protocol/errors.h"
#include "protocol/platform/platform.h"
#include "protocol/synchronisation.h"

#include <atomic>
#include <cstring>
#include <new>
#include <system_error>
#include <thread>

using namespace protocol;

namespace {

constexpr std::chrono::milliseconds kReplyLimit(5000);
constexpr int kIdleMs = 20;

RunSemaphore& runMutex(const DeviceRecord& record) {
    return *static_cast<RunSemaphore*>(record.runMutex);
}

std::mutex& replyMutex(const DeviceRecord& record) {
    return *static_cast<std::mutex*>(record.replyMutex);
}

AutoResetEvent& replyEvent(const DeviceRecord& record) {
    return *static_cast<AutoResetEvent*>(record.replyEvent);
}

// The byte stays a plain field of the record; both sides reach it through an atomic_ref.
bool threadModeOf(const DeviceRecord& record) {
    auto& mode = const_cast<std::uint8_t&>(record.threadMode);
    return std::atomic_ref(mode).load() != 0;
}

void setThreadModeOf(DeviceRecord& record, bool on) {
    std::atomic_ref(record.threadMode).store(on ? 1 : 0);
}

void handOver(DeviceRecord& record, std::int32_t error) {
    const std::lock_guard lock(replyMutex(record));
    std::memcpy(record.threadHandover, record.threadReply, std::strlen(record.threadReply) + 1);
    record.threadError = error;
    replyEvent(record).set();
}

// One exchange under the run semaphore. False ends the thread.
bool runOnce(DeviceRecord& record) {
    if (!threadModeOf(record)) {
        return false;
    }
    if (record.threadCommand[0] == '\0') {
        platform::sleepMs(kIdleMs);
        return true;
    }
    const Command command = {record.threadCommand, {}, record.threadBinary != 0};
    const Received received = exchange(record, command, record.threadReply);
    handOver(record, received.error);
    return received.error == 0;
}

void readReplies(DeviceRecord& record) {
    bool goesOn = true;
    while (goesOn) {
        runMutex(record).take();
        goesOn = runOnce(record);
        runMutex(record).give();
    }
}

void releaseThreadParts(DeviceRecord& record) {
    delete static_cast<std::thread*>(record.thread);
    delete static_cast<RunSemaphore*>(record.runMutex);
    delete static_cast<std::mutex*>(record.replyMutex);
    delete static_cast<AutoResetEvent*>(record.replyEvent);
    delete[] record.threadCommand;
    delete[] record.threadReply;
    delete[] record.threadHandover;
    record.thread = record.runMutex = record.replyMutex = record.replyEvent = nullptr;
    record.threadCommand = record.threadReply = record.threadHandover = nullptr;
}

void startThread(DeviceRecord& record) {
    try {
        record.threadCommand = new char[kBufferSize]();
        record.threadReply = new char[kBufferSize]();
        record.threadHandover = new char[kBufferSize]();
        record.threadError = 0;
        record.replyMutex = new std::mutex;
        record.replyEvent = new AutoResetEvent;
        record.runMutex = new RunSemaphore;
        if (record.tracking == 0) {
            runMutex(record).take();
        }
        setThreadModeOf(record, true);
        const platform::SignalBlock noSignals;
        record.thread = new std::thread(readReplies, std::ref(record));
    } catch (const std::exception&) { // out of memory, or of threads
        setThreadModeOf(record, false);
        releaseThreadParts(record);
    }
}

void stopThread(DeviceRecord& record) {
    setThreadModeOf(record, false);
    if (record.tracking == 0) {
        runMutex(record).give();
    }
    static_cast<std::thread*>(record.thread)->join();
    releaseThreadParts(record);
}

} // namespace

void deviceSetThreadMode(DeviceRecord* record, bool on) {
    if (on == threadModeOf(*record)) {
        return;
    }
    on ? startThread(*record) : stopThread(*record);
}

bool deviceGetThreadMode(const DeviceRecord* record) {
    return threadModeOf(*record);
}

bool protocol::isAnsweredByThread(const DeviceRecord& record, const Command& command) {
    return threadModeOf(record) && record.tracking != 0 &&
           (command.name == "BX" || command.name == "TX" || command.name == "GX");
}

Received protocol::takeFromThread(DeviceRecord& record, const Command& command) {
    if (command.text != record.threadCommand) {
        runMutex(record).take();
        std::memcpy(record.threadCommand, command.text.data(), command.text.size());
        record.threadCommand[command.text.size()] = '\0';
        record.threadBinary = command.text.front() == 'B' ? 1 : 0;
        runMutex(record).give();
        // This one may still answer the old command.
        if (!replyEvent(record).waitFor(kReplyLimit)) {
            return {kTimeout};
        }
    }
    if (!replyEvent(record).waitFor(kReplyLimit)) {
        return {kTimeout};
    }
    const std::lock_guard lock(replyMutex(record));
    const std::string_view handedOver(record.threadHandover);
    std::memcpy(record.rawReply, record.threadHandover, handedOver.size() + 1);
    return {record.threadError,
            checkReply({record.rawReply, handedOver.size()}, command.expectsBinary)};
}

void protocol::takeConnection(DeviceRecord& record) {
    if (threadModeOf(record) && record.tracking != 0) {
        runMutex(record).take();
    }
}

void protocol::giveConnection(DeviceRecord& record) {
    if (threadModeOf(record) && record.tracking != 0) {
        runMutex(record).give();
    }
}

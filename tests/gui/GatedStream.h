#pragma once

#include "streams/NDITrackingStream.h"
#include "streams/ThreadSafeInstruments.h"

#include <morvalincore/Properties.h>

#include <atomic>
#include <mutex>

namespace Morvalin {

/// A stream of none of the families, whose hooks and answers last until the test lets them end.
class GatedStream : public NDITrackingStream {
public:
    GatedStream() : NDITrackingStream("gated") { setInstruments(registry); }
    ~GatedStream() override { close(); }

    std::string uuid() const override { return "GatedStream"; }
    bool isInitialized() const override { return !isStateOneOf({Closed, Opening, Closing}); }
    std::int32_t measurementRate() const override { return 0; }
    void setMeasurementRate(std::int32_t) override {}

    /// Of "address" it takes only what begins with a digit.
    void configure(const Properties* properties) override {
        received.push_back(*properties);
        if (properties->param("address", address) && (address.empty() || address[0] > '9'))
            address.clear();
    }
    void configuration(Properties* properties) override {
        ++timesAsked;
        answerGate.wait(true);
        const std::lock_guard lock(connectionLock);
        properties->setParam("address", address);
        properties->setParam("port", port);
    }
    using NDITrackingStream::emitSignals;

    /// Closes or opens a gate.
    static void set(std::atomic<bool>& gate, bool isClosed) {
        gate = isClosed;
        gate.notify_all();
    }

    std::atomic<bool> hookGate = false; ///< true: closed
    std::atomic<bool> answerGate = false;
    std::atomic<int> timesAsked = 0;
    std::atomic<int> timesOpened = 0;
    std::mutex connectionLock;
    std::vector<Properties> received;
    std::string address = "1.2.3.4";
    std::int32_t port = 8765;
    const std::shared_ptr<ThreadSafeInstruments<NDITrackingInstrumentInfo>> registry =
        std::make_shared<ThreadSafeInstruments<NDITrackingInstrumentInfo>>();

private:
    bool pass() {
        hookGate.wait(true);
        return true;
    }
    bool openImpl() override {
        ++timesOpened;
        // As the device streams do: all of it, signals included, under the connection lock.
        const std::lock_guard lock(connectionLock);
        emitSignals(registry->create(TrackerID("a", "", ""), true));
        return pass();
    }
    bool closeImpl() override {
        emitSignals(registry->clear());
        return pass();
    }
    bool startImpl() override { return pass(); }
    bool stopImpl() override { return pass(); }
    std::optional<WorkContinuation> doWork() override {
        const auto now = std::chrono::system_clock::now();
        emitSignals(7);
        return WorkContinuation{now + std::chrono::milliseconds(1), 1};
    }
};

} // namespace Morvalin

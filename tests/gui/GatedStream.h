#pragma once

#include "streams/NDITrackingStream.h"
#include "streams/ThreadSafeInstruments.h"

#include <morvalincore/Properties.h>

#include <atomic>
#include <mutex>

namespace Morvalin {

/// A stream of none of the families, whose answers and whose end wait while the test holds the
/// gate.
class GatedStream : public NDITrackingStream {
public:
    GatedStream() : NDITrackingStream("gated") { setInstruments(registry); }
    ~GatedStream() override { closeForGood(); }

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
        const std::lock_guard passed(gate);
        properties->setParam("address", address);
        properties->setParam("port", port);
    }
    using NDITrackingStream::emitSignals;

    std::mutex gate;
    std::atomic<int> timesAsked = 0;
    std::vector<Properties> received;
    std::string address = "1.2.3.4";
    std::int32_t port = 8765;
    const std::shared_ptr<ThreadSafeInstruments<NDITrackingInstrumentInfo>> registry =
        std::make_shared<ThreadSafeInstruments<NDITrackingInstrumentInfo>>();

private:
    bool openImpl() override { return true; }
    bool closeImpl() override {
        const std::lock_guard passed(gate);
        return true;
    }
    bool startImpl() override { return true; }
    bool stopImpl() override { return true; }
    std::optional<WorkContinuation> doWork() override {
        const auto now = std::chrono::system_clock::now();
        emitSignals(7);
        return WorkContinuation{now + std::chrono::milliseconds(1), 1};
    }
};

} // namespace Morvalin

#pragma once

#include <cstdint>
#include <memory>

#include <morvalinstream/TrackingInstrumentFiducialsData.h>

#include "streams/NDIConnectionData.h"
#include "streams/ThreadSafeInstruments.h"

struct DeviceRecord;

namespace Morvalin {

/// One exchange with a tracking device and what is made of its answer. The caller holds the
/// connection lock throughout; the connection has a device.
class Measurement {
public:
    using Instruments = ThreadSafeInstruments<NDITrackingInstrumentInfo>;

    /// Whether the query goes out in binary form is decided once, from the connection's settings.
    Measurement(NDIConnectionData& connectionData, Instruments& registry);

    /// Asks for a measurement; `binaryOptions` are the reply options of the binary form. False when
    /// nothing was measured, which is in the log then: all that the device's record holds is older,
    /// and the other operations must not be called.
    bool query(unsigned binaryOptions);

    /// Whether the main instrument was measured anew since the last frame, which then counts as
    /// handed out. Without instruments every answer is new.
    bool isNewFrame();

    /// The markers that belong to no tool.
    std::unique_ptr<TrackingInstrumentFiducialsData> strayMarkers() const;

    /// Brings the active instruments up to date. One that the device reports as disabled, or not
    /// at all, becomes inactive.
    void updateInstruments(std::int64_t timestamp);

private:
    bool queryBinary(unsigned options);
    bool queryText();
    const DeviceRecord* record() const;
    std::uint32_t frameNumber(std::int32_t portHandle) const;

    NDIConnectionData& connection;
    Instruments& instruments;
    const bool isBinary;
};

} // namespace Morvalin

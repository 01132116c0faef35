#include "streams/internal/Measurement.h"

#include "protocol/device.h"

#include <algorithm>

namespace Morvalin {
namespace {

constexpr unsigned textOptions = 0x1005; // transforms, single stray markers, passive stray markers

/// FNV-1a of the empty text: these markers have no names.
constexpr std::uint64_t anonymousMarker = 0xCBF29CE484222325;

/// Writes one frame's data into instrument after instrument.
struct PoseUpdate {
    const DeviceRecord* device;
    bool isBinary;
    std::int64_t timestamp;
    float transform[8]{}; // q0, qx, qy, qz, tx, ty, tz, error
    double matrix[16]{};

    enum State { Valid = 0, Disabled = 1, Missing = 2 };

    int look(std::int32_t portHandle) {
        return isBinary ? deviceBxTransform(device, portHandle, transform)
                        : deviceTxTransformF(device, portHandle, transform);
    }

    void apply(TrackingInstrument& instrument, const NDITrackingInstrumentInfo& info) {
        if (!instrument.active)
            return;
        const int state = look(info.portHandle);
        if (state == Valid) {
            transformToMatrix(transform, matrix);
            std::copy(std::begin(matrix), std::end(matrix), instrument.matrix.data());
            instrument.quality = 1.0 - static_cast<double>(transform[7]) / 10.0;
        } else {
            instrument.matrix = Matrix4::Identity();
            instrument.quality = 0.0;
            instrument.active = state == Missing;
        }
        instrument.timestamp = timestamp;
    }
};

} // namespace

Measurement::Measurement(NDIConnectionData& connectionData, Instruments& registry) :
    connection(connectionData), instruments(registry), isBinary(connectionData.binaryQueryMode) {}

void Measurement::query(unsigned binaryOptions) {
    if (isBinary)
        deviceCommand(connection.device, "BX:%04X", binaryOptions);
    else
        deviceCommand(connection.device, "TX:%04X", textOptions);
}

std::uint32_t Measurement::frameNumber(std::int32_t portHandle) const {
    return isBinary ? deviceBxFrameNumber(connection.device, portHandle)
                    : deviceTxFrameNumber(connection.device, portHandle);
}

bool Measurement::isNewFrame() {
    if (instruments.size() < 1)
        return true;
    struct {
        const Measurement& measurement;
        std::uint32_t number;
    } look{*this, connection.lastFrameNumber};
    // A single captured reference fits into std::function without an allocation.
    instruments.modify(instruments.mainId(), [&look](const std::string&, TrackingInstrument&,
                                                     NDITrackingInstrumentInfo& info) {
        look.number = look.measurement.frameNumber(info.portHandle);
    });
    if (look.number == connection.lastFrameNumber)
        return false;
    connection.lastFrameNumber = look.number;
    return true;
}

std::unique_ptr<TrackingInstrumentFiducialsData> Measurement::strayMarkers() const {
    auto fiducials = std::make_unique<TrackingInstrumentFiducialsData>();
    const DeviceRecord* const device = connection.device;
    const int reported =
        isBinary ? deviceBxPassiveStrayCount(device) : deviceTxPassiveStrayCount(device);
    const auto count = static_cast<std::size_t>(std::max(0, reported));
    fiducials->positions.resize(count);
    fiducials->identifiers.assign(count, anonymousMarker);
    float binary[3]{};
    TrackingInstrumentFiducialsData::Position text{};
    for (std::size_t i = 0; i < count; ++i) {
        if (isBinary) {
            deviceBxPassiveStray(device, static_cast<int>(i), binary);
            fiducials->positions[i] = {binary[0], binary[1], binary[2]};
        } else {
            deviceTxPassiveStray(device, static_cast<int>(i), text.data());
            fiducials->positions[i] = text;
        }
    }
    return fiducials;
}

void Measurement::updateInstruments(std::int64_t timestamp) {
    PoseUpdate update{connection.device, isBinary, timestamp};
    instruments.modifyAll(
        [&update](const std::string&, TrackingInstrument& instrument,
                  NDITrackingInstrumentInfo& info) { update.apply(instrument, info); });
}

} // namespace Morvalin

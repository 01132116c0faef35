#include "streams/internal/Measurement.h"

#include "streams/internal/NdiLog.h"
#include "streams/internal/OpenDevice.h"

#include <algorithm>
#include <utility>

namespace Morvalin {
namespace {

constexpr unsigned textOptions = 0x1005; // transforms, single stray markers, passive stray markers

using Position = TrackingInstrumentFiducialsData::Position;

/// FNV-1a of the empty text: these markers have no names.
constexpr std::uint64_t anonymousMarker = 0xCBF29CE484222325;

/// No system status: two bytes with their signs extended never give this.
constexpr std::uint32_t unreadStatus = 0x7FFF0000;

bool refuseAnswer() {
    logNdi(Log::Error, "Error while receiving tracking data. The answer is no measurement.");
    return false;
}

/// As many as there are, to be filled: a reply has up to 127.
std::vector<Position> places(int count) {
    return std::vector<Position>(static_cast<std::size_t>(std::max(0, count)));
}

std::vector<Position> binaryStrays(const DeviceRecord* device) {
    std::vector<Position> positions = places(deviceBxPassiveStrayCount(device));
    float position[3]{};
    for (int i = 0; Position & place : positions) {
        deviceBxPassiveStray(device, i++, position);
        place = {position[0], position[1], position[2]};
    }
    return positions;
}

std::vector<Position> textStrays(const DeviceRecord* device) {
    std::vector<Position> positions = places(deviceTxPassiveStrayCount(device));
    for (int i = 0; Position & place : positions)
        deviceTxPassiveStray(device, i++, place.data());
    return positions;
}

/// Writes one frame's data into instrument after instrument.
struct PoseUpdate {
    const DeviceRecord* device;
    bool isBinary;
    std::int64_t timestamp;
    float transform[8]{}; // q0, qx, qy, qz, tx, ty, tz, error

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
            transformToMatrix(transform, instrument.matrix.data());
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

bool Measurement::query(unsigned binaryOptions) {
    return isBinary ? queryBinary(binaryOptions) : queryText();
}

/// What a binary answer leaves out keeps its value from an earlier one, so it must be one that was
/// read up to its last field, the system status.
bool Measurement::queryBinary(unsigned options) {
    OpenDevice& device = *connection.device;
    std::uint32_t& lastField = device.record()->BxSystemStatus;
    const std::uint32_t before = std::exchange(lastField, unreadStatus);
    const bool isGood = device.command("BX:%04X", options);
    if (lastField != unreadStatus)
        return isGood;
    lastField = before;
    return isGood && refuseAnswer();
}

/// A text answer begins with a count. Others, such as that of a device that has restarted, would
/// pass for a measurement without any tool.
bool Measurement::queryText() {
    OpenDevice& device = *connection.device;
    if (!device.command("TX:%04X", textOptions))
        return false;
    return device.leadingNumber() || refuseAnswer();
}

const DeviceRecord* Measurement::record() const {
    return connection.device->record();
}

std::uint32_t Measurement::frameNumber(std::int32_t portHandle) const {
    return isBinary ? deviceBxFrameNumber(record(), portHandle)
                    : deviceTxFrameNumber(record(), portHandle);
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
    fiducials->positions = isBinary ? binaryStrays(record()) : textStrays(record());
    fiducials->identifiers.assign(fiducials->positions.size(), anonymousMarker);
    return fiducials;
}

void Measurement::updateInstruments(std::int64_t timestamp) {
    PoseUpdate update{record(), isBinary, timestamp};
    instruments.modifyAll(
        [&update](const std::string&, TrackingInstrument& instrument,
                  NDITrackingInstrumentInfo& info) { update.apply(instrument, info); });
}

} // namespace Morvalin

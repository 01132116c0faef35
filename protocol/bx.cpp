#include "protocol/replies.h"
#include "protocol/reply_text.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace protocol {
namespace {

static_assert(std::endian::native == std::endian::little, "floats are copied byte for byte");

// Bits of a handle's status.
constexpr std::uint8_t kMissing = 2;
constexpr std::uint8_t kDisabled = 4;

constexpr std::size_t kPositionSize = 3 * sizeof(float);
constexpr int kMaxStrays = 240;

std::uint32_t signExtended(const std::uint8_t byte) {
    return static_cast<std::uint32_t>(static_cast<std::int8_t>(byte));
}

// Walks over a binary reply. The first field that does not fit ends it: every later one is absent.
class ByteCursor {
public:
    explicit ByteCursor(std::string_view bytes) : m_rest(bytes) {}

    // The next n bytes; null when they are not all there.
    const std::uint8_t* take(std::size_t n) {
        if (m_hasEnded || n > m_rest.size()) {
            m_hasEnded = true;
            return nullptr;
        }
        const auto* field = reinterpret_cast<const std::uint8_t*>(m_rest.data());
        m_rest.remove_prefix(n);
        return field;
    }

    // Copies the next n bytes as far as the store holds them. Not by memcpy: where a compiler knows
    // the most that can come, it becomes an instruction that is slow to start.
    template <typename T>
    void copy(T& store, std::size_t n) {
        if (const std::uint8_t* field = take(n)) {
            std::copy_n(field, std::min(sizeof(store), n), reinterpret_cast<std::uint8_t*>(&store));
        }
    }

    bool hasEnded() const { return m_hasEnded; }

private:
    std::string_view m_rest;
    bool m_hasEnded = false;
};

// Copies a field into the entry of its handle; the stores have no room for some handles.
template <typename T>
void copyEntry(ByteCursor& bytes, T (&store)[NDI_MAX_HANDLES], int i) {
    const std::uint8_t* field = bytes.take(sizeof(T));
    if (field != nullptr && i < NDI_MAX_HANDLES) {
        std::memcpy(&store[i], field, sizeof(T));
    }
}

void decodeTransform(DeviceRecord& record, ByteCursor& bytes, int i, std::uint8_t status) {
    if (status != kMissing) {
        copyEntry(bytes, record.BxTransforms, i);
    }
    const std::uint8_t* port = bytes.take(4);
    if (port != nullptr && i < NDI_MAX_HANDLES) {
        // Users of the word rely on the sign extension: a byte of 0x80 or more sets all bits above.
        std::uint32_t word = signExtended(port[3]);
        for (int b = 2; b >= 0; --b) {
            word = word << 8 | signExtended(port[b]);
        }
        record.BxPortStatus[i] = word;
    }
    copyEntry(bytes, record.BxFrameNumber, i);
}

void decodeSingleStray(DeviceRecord& record, ByteCursor& bytes, int i) {
    const std::uint8_t* status = bytes.take(1);
    if (status == nullptr) {
        return;
    }
    if (i < NDI_MAX_HANDLES) {
        record.BxActiveSingleStrayMarkerStatus[i] = *status;
    }
    if (*status != 0) {
        copyEntry(bytes, record.BxActiveSingleStrayMarkerPosition, i);
    }
}

std::size_t bitBytes(std::size_t markers) {
    return (markers + 7) / 8;
}

// A count below zero stands for nothing.
std::size_t markersIn(std::int8_t count) {
    return static_cast<std::size_t>(std::max<int>(0, count));
}

template <std::size_t kBytes, std::size_t kRoom>
void decodePositions(ByteCursor& bytes, std::size_t markers, std::uint8_t (&outOfVolume)[kBytes],
                     float (&positions)[kRoom][3]) {
    bytes.copy(outOfVolume, bitBytes(markers));
    bytes.copy(positions, markers * kPositionSize);
}

void decodeMarkers(DeviceRecord& record, ByteCursor& bytes, int i) {
    const std::uint8_t* field = bytes.take(1);
    if (field == nullptr) {
        return;
    }
    const auto count = static_cast<std::int8_t>(*field);
    if (i >= NDI_MAX_HANDLES) {
        bytes.take(bitBytes(markersIn(count)) + markersIn(count) * kPositionSize);
        return;
    }
    record.Bx3DMarkerCount[i] = count;
    decodePositions(bytes, markersIn(count), record.Bx3DMarkerOutOfVolume[i],
                    record.Bx3DMarkerPosition[i]);
}

void decodeHandle(DeviceRecord& record, ByteCursor& bytes, int i, std::uint32_t option) {
    copyEntry(bytes, record.BxHandles, i);
    const std::uint8_t* field = bytes.take(1);
    if (field == nullptr) {
        return;
    }
    const std::uint8_t status = *field;
    if (i < NDI_MAX_HANDLES) {
        record.BxHandlesStatus[i] = status;
    }
    if (status == kDisabled) {
        return;
    }
    if ((option & kTransforms) != 0) {
        decodeTransform(record, bytes, i, status);
    }
    if ((option & kInformation) != 0) {
        copyEntry(bytes, record.BxToolMarkerInformation, i);
    }
    if ((option & kSingleStray) != 0) {
        decodeSingleStray(record, bytes, i);
    }
    if ((option & kMarkers) != 0) {
        decodeMarkers(record, bytes, i);
    }
}

void decodePassiveStrays(DeviceRecord& record, ByteCursor& bytes) {
    const std::uint8_t* field = bytes.take(1);
    if (field == nullptr) {
        return;
    }
    const auto count = static_cast<std::int8_t>(*field);
    record.BxPassiveStrayCount = count;
    decodePositions(bytes, markersIn(count), record.BxPassiveStrayOutOfVolume,
                    record.BxPassiveStrayPosition);
}

// The entry of a handle in the last reply; -1 when there is none.
int find(const DeviceRecord* record, int handle) {
    const int count = std::min<int>(record->BxHandleCount, NDI_MAX_HANDLES);
    for (int i = 0; i < count; ++i) {
        if (record->BxHandles[i] == handle) {
            return i;
        }
    }
    return -1;
}

} // namespace

void decodeBx(DeviceRecord& record, const Reply& reply) {
    if (!reply.data.starts_with("\xC4\xA5")) {
        return;
    }
    const std::uint32_t option = replyOption(reply.command, 2, 3, kTransforms);
    ByteCursor bytes(reply.data);
    bytes.take(2);
    bytes.copy(record.BxReplyLength, 2);
    bytes.take(2); // header CRC: the CRC of the whole reply covers it
    const std::uint8_t* handles = bytes.take(1);
    if (handles == nullptr) {
        return;
    }
    record.BxHandleCount = static_cast<std::uint8_t>(std::min<int>(*handles, NDI_MAX_HANDLES));
    for (int i = 0; i < *handles && !bytes.hasEnded(); ++i) {
        decodeHandle(record, bytes, i, option);
    }
    if ((option & kPassiveStrays) != 0) {
        decodePassiveStrays(record, bytes);
    }
    if (const std::uint8_t* status = bytes.take(2)) {
        record.BxSystemStatus = signExtended(status[1]) << 8 | signExtended(status[0]);
    }
}

} // namespace protocol

using namespace protocol;

int deviceBxTransform(const DeviceRecord* record, int handle, float* values) {
    const int i = find(record, handle);
    if (i < 0) {
        return 1;
    }
    std::memcpy(values, record->BxTransforms[i], sizeof(record->BxTransforms[i]));
    const std::uint8_t status = record->BxHandlesStatus[i];
    return (status & kDisabled) != 0 ? 1 : (status & kMissing) != 0 ? 2 : 0;
}

std::uint32_t deviceBxFrameNumber(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : record->BxFrameNumber[i];
}

std::uint32_t deviceBxPortStatus(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : record->BxPortStatus[i];
}

int deviceBxToolInformation(const DeviceRecord* record, int handle, std::uint8_t* information) {
    const int i = find(record, handle);
    if (i < 0) {
        return 1;
    }
    *information = record->BxToolMarkerInformation[i][0];
    return 0;
}

int deviceBxSingleStray(const DeviceRecord* record, int handle, float* position) {
    const int i = find(record, handle);
    if (i < 0) {
        return 1;
    }
    std::copy_n(record->BxActiveSingleStrayMarkerPosition[i], 3, position);
    return 0;
}

std::uint32_t deviceBxSystemStatus(const DeviceRecord* record) {
    return record->BxSystemStatus;
}

int deviceBxPassiveStrayCount(const DeviceRecord* record) {
    return record->BxPassiveStrayCount;
}

int deviceBxPassiveStray(const DeviceRecord* record, int index, float* position) {
    if (index < 0 || index >= kMaxStrays || index > record->BxPassiveStrayCount) {
        return 1;
    }
    std::memcpy(position, record->BxPassiveStrayPosition[index], 3 * sizeof(float));
    return 0;
}

#include "protocol/decode.h"
#include "protocol/reply_option.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace protocol {
namespace {

static_assert(std::endian::native == std::endian::little, "floats are copied byte for byte");

constexpr std::uint32_t kTransforms = 0x0001;
constexpr std::uint32_t kToolInformation = 0x0002;
constexpr std::uint32_t kSingleStray = 0x0004;
constexpr std::uint32_t kMarkers = 0x0008;
constexpr std::uint32_t kPassiveStrays = 0x1000;

constexpr std::uint8_t kMissing = 2;
constexpr std::uint8_t kDisabled = 4;

constexpr std::size_t kMaxMarkers = 20;
constexpr std::size_t kMaxStrays = 240;

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

    // Copies the next n bytes as far as the store holds them; a null store keeps none.
    void copy(void* store, std::size_t size, std::size_t n) {
        const std::uint8_t* field = take(n);
        if (field != nullptr && store != nullptr) {
            std::memcpy(store, field, std::min(size, n));
        }
    }

    bool hasEnded() const { return m_hasEnded; }

private:
    std::string_view m_rest;
    bool m_hasEnded = false;
};

// The entry of a per-handle store; null for a handle that the stores have no room for.
template <typename T>
T* entry(T (&store)[NDI_MAX_HANDLES], int i) {
    return i < NDI_MAX_HANDLES ? &store[i] : nullptr;
}

// Copies a field into the entry of its handle.
template <typename T>
void copyEntry(ByteCursor& bytes, T (&store)[NDI_MAX_HANDLES], int i) {
    bytes.copy(entry(store, i), sizeof(T), sizeof(T));
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

// Out-of-volume bits and positions; a count below zero stands for nothing.
void decodePositions(ByteCursor& bytes, int count, void* outOfVolume, std::size_t outOfVolumeSize,
                     float (*positions)[3], std::size_t room) {
    const std::size_t markers = count > 0 ? static_cast<std::size_t>(count) : 0;
    bytes.copy(outOfVolume, outOfVolumeSize, (markers + 7) / 8);
    for (std::size_t k = 0; k < markers && !bytes.hasEnded(); ++k) {
        bytes.copy(k < room && positions != nullptr ? positions[k] : nullptr, sizeof(*positions),
                   sizeof(*positions));
    }
}

void decodeMarkers(DeviceRecord& record, ByteCursor& bytes, int i) {
    const std::uint8_t* field = bytes.take(1);
    if (field == nullptr) {
        return;
    }
    const auto count = static_cast<std::int8_t>(*field);
    if (i >= NDI_MAX_HANDLES) {
        decodePositions(bytes, count, nullptr, 0, nullptr, 0);
        return;
    }
    record.Bx3DMarkerCount[i] = count;
    decodePositions(bytes, count, record.Bx3DMarkerOutOfVolume[i],
                    sizeof(record.Bx3DMarkerOutOfVolume[i]), record.Bx3DMarkerPosition[i],
                    kMaxMarkers);
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
    if ((option & kToolInformation) != 0) {
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
    record.BxPassiveStrayCount = static_cast<std::int32_t>(signExtended(*field));
    decodePositions(bytes, record.BxPassiveStrayCount, record.BxPassiveStrayOutOfVolume,
                    sizeof(record.BxPassiveStrayOutOfVolume), record.BxPassiveStrayPosition,
                    kMaxStrays);
}

} // namespace

void decodeBx(DeviceRecord& record, const Reply& reply) {
    if (!reply.data.starts_with("\xC4\xA5")) {
        return;
    }
    const std::uint32_t option = replyOption(reply.command, 2, 3, kTransforms);
    ByteCursor bytes(reply.data);
    bytes.take(2);
    bytes.copy(&record.BxReplyLength, sizeof(record.BxReplyLength), 2);
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

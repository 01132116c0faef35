#include "protocol/device.h"
#include "protocol/transform_text.h"

#include <algorithm>

using namespace protocol;

namespace {

constexpr int kUnavailable = 3;
constexpr int kNoSource = 2;

// IRCHK sources: for each side a count of three characters, then entries of two angles.
constexpr std::size_t kCountWidth = 3;
constexpr std::size_t kAngleWidth = 3;
constexpr std::size_t kEntryWidth = 2 * kAngleWidth;
constexpr int kMaxSources = 20;

struct SourceList {
    int count = 0;         // -1 when it cannot be told
    std::size_t begin = 0; // of the first entry
};

SourceList listAt(std::string_view text, std::size_t position) {
    const int count = signedAt(text, position, kCountWidth);
    return {count < 0 || count > kMaxSources ? -1 : count, position + kCountWidth};
}

SourceList sourcesOf(const DeviceRecord* record, int side) {
    const std::string_view text = storedText(record->IrchkSources);
    if (text.empty() || side < 0 || side > 1) {
        return {-1};
    }
    const SourceList first = listAt(text, 0);
    if (side == 0 || first.count < 0) {
        return first;
    }
    return listAt(text, first.begin + static_cast<std::size_t>(first.count) * kEntryWidth);
}

// The stores of a port's last PSTAT reply; empty for a character that names no port.
struct PortStores {
    std::string_view basic;
    std::string_view testing;
    std::string_view partNumber;
    std::string_view accessories;
    std::string_view markerType;
};

template <std::size_t N>
std::string_view whole(const char (&store)[N]) {
    return store[0] == '\0' ? std::string_view() : std::string_view(store, N);
}

PortStores storesOf(const DeviceRecord* record, char port) {
    if (port >= '1' && port <= '3') {
        const int i = port - '1';
        return {whole(record->PstatBasic[i]), whole(record->PstatTesting[i]),
                whole(record->PstatPartNumber[i]), whole(record->PstatAccessories[i]),
                whole(record->PstatMarkerType[i])};
    }
    if (port >= 'A' && port <= 'I') {
        const int i = port - 'A';
        return {whole(record->PstatPassiveBasic[i]), whole(record->PstatPassiveTesting[i]),
                whole(record->PstatPassivePartNumber[i]), whole(record->PstatPassiveAccessories[i]),
                whole(record->PstatPassiveMarkerType[i])};
    }
    return {};
}

int copyStore(std::string_view store, std::size_t n, char* out) {
    if (store.empty()) {
        return kUnavailable;
    }
    store.copy(out, n);
    return 0;
}

} // namespace

int deviceSstatControl(const DeviceRecord* record) {
    return hexField(record->SstatControl);
}

int deviceSstatSensor(const DeviceRecord* record) {
    return hexField(record->SstatSensor);
}

int deviceSstatTiu(const DeviceRecord* record) {
    return hexField(record->SstatTiu);
}

bool deviceIrchkDetected(const DeviceRecord* record) {
    return record->IrchkDetected == '1';
}

int deviceIrchkSourceCount(const DeviceRecord* record, int side) {
    return std::max(sourcesOf(record, side).count, 0);
}

int deviceIrchkSource(const DeviceRecord* record, int side, int index, double* position) {
    const SourceList sources = sourcesOf(record, side);
    if (index < 0 || index >= sources.count) {
        return kNoSource;
    }
    const std::size_t begin = sources.begin + static_cast<std::size_t>(index) * kEntryWidth;
    const std::string_view text = storedText(record->IrchkSources);
    if (begin + kEntryWidth > sizeof(record->IrchkSources)) {
        return kNoSource;
    }
    position[0] = signedAt(text, begin, kAngleWidth) * kPositionScale;
    position[1] = signedAt(text, begin + kAngleWidth, kAngleWidth) * kPositionScale;
    return 0;
}

int devicePstatAccessories(const DeviceRecord* record, char port) {
    return static_cast<int>(parseHex(storesOf(record, port).accessories, 2));
}

std::uint32_t devicePstatTesting(const DeviceRecord* record, char port) {
    return parseHex(storesOf(record, port).testing, 8);
}

int devicePstatMarkerType(const DeviceRecord* record, char port) {
    return static_cast<int>(parseHex(storesOf(record, port).markerType, 2));
}

int devicePstatPartNumber(const DeviceRecord* record, char port, char* out) {
    return copyStore(storesOf(record, port).partNumber, 20, out);
}

int devicePstatBasic(const DeviceRecord* record, char port, char* out) {
    const std::string_view basic = storesOf(record, port).basic;
    return basic.starts_with('U') ? kUnavailable : copyStore(basic, 30, out);
}

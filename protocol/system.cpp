#include "protocol/replies.h"
#include "protocol/reply_text.h"

namespace protocol {
namespace {

constexpr std::size_t kSourcesLength = 126;

// The stores of the wired ports and those of the passive ports have the same shape.
struct PstatStores {
    char (*basic)[32];
    char (*testing)[8];
    char (*partNumber)[20];
    char (*accessories)[2];
    char (*markerType)[2];
};

void takePort(TextCursor& cursor, const PstatStores& stores, int i, std::uint32_t option) {
    if ((option & 0x0001) != 0) {
        replaceField(cursor, stores.basic[i]);
    }
    if ((option & 0x0002) != 0) {
        replaceField(cursor, stores.testing[i]);
    }
    if ((option & 0x0004) != 0) {
        replaceField(cursor, stores.partNumber[i]);
    }
    if ((option & 0x0008) != 0) {
        replaceField(cursor, stores.accessories[i]);
    }
    if ((option & 0x0010) != 0) {
        replaceField(cursor, stores.markerType[i]);
    }
    cursor.skipLine();
}

void takePorts(TextCursor& cursor, const PstatStores& stores, int count, std::uint32_t option) {
    for (int i = 0; i < count; ++i) {
        takePort(cursor, stores, i, option);
    }
}

// ---- Accessors

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

void decodePstat(DeviceRecord& record, const Reply& reply) {
    const std::uint32_t option = replyOption(reply.command, 5, 6, 0x0001);
    TextCursor cursor(reply.data);
    takePorts(cursor,
              {record.PstatBasic, record.PstatTesting, record.PstatPartNumber,
               record.PstatAccessories, record.PstatMarkerType},
              3, option);
    if ((option & kPassivePorts) != 0) {
        takePorts(cursor,
                  {record.PstatPassiveBasic, record.PstatPassiveTesting,
                   record.PstatPassivePartNumber, record.PstatPassiveAccessories,
                   record.PstatPassiveMarkerType},
                  (option & kAllPassivePorts) != 0 ? 9 : 3, option);
    }
}

void decodeSstat(DeviceRecord& record, const Reply& reply) {
    const std::uint32_t option = replyOption(reply.command, 5, 6, 0);
    TextCursor cursor(reply.data);
    if ((option & 0x0001) != 0) {
        replaceField(cursor, record.SstatControl);
    }
    if ((option & 0x0002) != 0) {
        replaceField(cursor, record.SstatSensor);
    }
    if ((option & 0x0004) != 0) {
        replaceField(cursor, record.SstatTiu);
    }
}

void decodeIrchk(DeviceRecord& record, const Reply& reply) {
    const std::uint32_t option = replyOption(reply.command, 5, 6, 0x0001);
    std::string_view sources = reply.data;
    if ((option & 0x0001) != 0) {
        record.IrchkDetected = static_cast<unsigned char>(charAt(reply.data, 0));
        sources = tailAt(reply.data, 1);
    }
    if ((option & 0x0002) != 0) {
        // Unterminated: behind a shorter list, the rest of an older one stays.
        TextCursor(sources).take(record.IrchkSources, kSourcesLength, kSourcesLength);
    }
}

} // namespace protocol

using namespace protocol;

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

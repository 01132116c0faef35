#include "protocol/decode.h"
#include "protocol/reply_option.h"
#include "protocol/text_cursor.h"

namespace protocol {
namespace {

constexpr std::uint32_t kAllPassivePorts = 0x2000;
constexpr std::uint32_t kPassivePorts = 0x8000;
constexpr std::size_t kMaxSources = 126;

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
        takeWhole(cursor, stores.basic[i]);
    }
    if ((option & 0x0002) != 0) {
        takeWhole(cursor, stores.testing[i]);
    }
    if ((option & 0x0004) != 0) {
        takeWhole(cursor, stores.partNumber[i]);
    }
    if ((option & 0x0008) != 0) {
        takeWhole(cursor, stores.accessories[i]);
    }
    if ((option & 0x0010) != 0) {
        takeWhole(cursor, stores.markerType[i]);
    }
    cursor.skipLine();
}

void takePorts(TextCursor& cursor, const PstatStores& stores, int count, std::uint32_t option) {
    for (int i = 0; i < count; ++i) {
        takePort(cursor, stores, i, option);
    }
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
        takeWhole(cursor, record.SstatControl);
    }
    if ((option & 0x0002) != 0) {
        takeWhole(cursor, record.SstatSensor);
    }
    if ((option & 0x0004) != 0) {
        takeWhole(cursor, record.SstatTiu);
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
        TextCursor(sources).take(record.IrchkSources, kMaxSources, kMaxSources);
    }
}

} // namespace protocol

#include "protocol/decode.h"
#include "protocol/reply_option.h"
#include "protocol/text_cursor.h"

#include <cstring>

namespace protocol {
namespace {

constexpr std::int32_t kUnoccupied = 3;
constexpr std::size_t kBasicLength = 33;
constexpr std::size_t kMaxPhsr = 1282;

// One part of a PHINF reply: its option bit, its store, how much of the reply fills it and what
// stands in for that when the port is unoccupied.
struct PhinfPart {
    std::uint32_t option;
    char* store;
    std::size_t length;
    std::string_view unoccupied;
};

void takePhinfPart(TextCursor& cursor, const PhinfPart& part, bool isUnoccupied) {
    if (isUnoccupied) {
        part.unoccupied.copy(part.store, part.length);
    } else {
        cursor.take(part.store, part.length, part.length);
    }
}

} // namespace

void decodePhinf(DeviceRecord& record, const Reply& reply) {
    // Without an option the CRC digits of a ':' command are read as one.
    const std::uint32_t option = replyOption(reply.command, 5, 8, 0x0001);
    const bool isUnoccupied = reply.data.starts_with('U');
    record.PhinfUnoccupied = isUnoccupied ? kUnoccupied : 0;
    const PhinfPart parts[] = {
        {0x0001, record.PhinfBasic, kBasicLength, "00000000            0000000000000"},
        {0x0002, record.PhinfTesting, sizeof(record.PhinfTesting), "00000000"},
        {0x0004, record.PhinfPartNumber, sizeof(record.PhinfPartNumber), "                    "},
        {0x0008, record.PhinfAccessories, sizeof(record.PhinfAccessories), "00"},
        {0x0010, record.PhinfMarkerType, sizeof(record.PhinfMarkerType), "00"},
        {0x0020, record.PhinfPortLocation, sizeof(record.PhinfPortLocation), "00000000000000"},
        {0x0040, record.PhinfGpioStatus, sizeof(record.PhinfGpioStatus), "00"},
    };
    TextCursor cursor(reply.data);
    for (const PhinfPart& part : parts) {
        if ((option & part.option) != 0) {
            takePhinfPart(cursor, part, isUnoccupied);
        }
    }
}

void decodePhrq(DeviceRecord& record, const Reply& reply) {
    TextCursor cursor(reply.data);
    takeWhole(cursor, record.PhrqReply);
}

// Cleared behind the text, so that a count that promises more entries reads zeros, not the entries
// of an older reply.
void decodePhsr(DeviceRecord& record, const Reply& reply) {
    std::memset(record.PhsrReply, 0, sizeof(record.PhsrReply));
    TextCursor cursor(reply.data);
    cursor.take(record.PhsrReply, kMaxPhsr, kMaxPhsr);
}

} // namespace protocol

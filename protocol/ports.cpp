#include "protocol/replies.h"
#include "protocol/reply_text.h"

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

// ---- Accessors

// PHSR: the count in two digits, then entries of a handle in two digits and a status in three.
constexpr std::size_t kEntrySize = 5;

int phsrField(const DeviceRecord* record, int index, std::size_t offset, std::size_t width) {
    if (index < 0 || index > devicePhsrCount(record)) {
        return 0;
    }
    const std::string_view text(record->PhsrReply, sizeof(record->PhsrReply));
    const std::size_t entry = kEntrySize * static_cast<std::size_t>(index);
    return static_cast<int>(parseHex(tailAt(text, entry + offset), width));
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
    replaceField(cursor, record.PhrqReply);
}

// Cleared behind the text, so that a count that promises more entries reads zeros, not the entries
// of an older reply.
void decodePhsr(DeviceRecord& record, const Reply& reply) {
    std::memset(record.PhsrReply, 0, sizeof(record.PhsrReply));
    TextCursor cursor(reply.data);
    cursor.take(record.PhsrReply, kMaxPhsr, kMaxPhsr);
}

} // namespace protocol

using namespace protocol;

int devicePhrqHandle(const DeviceRecord* record) {
    return hexField(record->PhrqReply);
}

int devicePhsrCount(const DeviceRecord* record) {
    return static_cast<int>(parseHex({record->PhsrReply, 2}, 2));
}

int devicePhsrHandle(const DeviceRecord* record, int index) {
    return phsrField(record, index, 2, 2);
}

int devicePhsrStatus(const DeviceRecord* record, int index) {
    return phsrField(record, index, 4, 3);
}

int devicePhinfBasic(const DeviceRecord* record, char* out) {
    std::copy_n(record->PhinfBasic, 31, out);
    return record->PhinfUnoccupied;
}

int devicePhinfPartNumber(const DeviceRecord* record, char* out) {
    std::copy_n(record->PhinfPartNumber, 20, out);
    return record->PhinfUnoccupied;
}

int devicePhinfPortLocation(const DeviceRecord* record, char* out) {
    std::copy_n(record->PhinfPortLocation, 14, out);
    return record->PhinfUnoccupied;
}

int devicePhinfBasicTail(const DeviceRecord* record) {
    return static_cast<int>(parseHex({record->PhinfBasic + 31, 2}, 2));
}

std::uint32_t devicePhinfTesting(const DeviceRecord* record) {
    return parseHex({record->PhinfTesting, 8}, 8);
}

int devicePhinfAccessories(const DeviceRecord* record) {
    return hexField(record->PhinfAccessories);
}

int devicePhinfMarkerType(const DeviceRecord* record) {
    return hexField(record->PhinfMarkerType);
}

int devicePhinfGpioStatus(const DeviceRecord* record) {
    return hexField(record->PhinfGpioStatus);
}

#include "protocol/decode.h"
#include "protocol/reply_option.h"
#include "protocol/text_cursor.h"

namespace protocol {
namespace {

constexpr std::uint32_t kTransforms = 0x0001;
constexpr std::uint32_t kInformation = 0x0002;
constexpr std::uint32_t kSingleStray = 0x0004;
constexpr std::uint32_t kPassiveStrays = 0x1000;

constexpr std::size_t kUnoccupiedLength = 10;
constexpr std::size_t kTransformLength = 51;
constexpr std::size_t kStrayLength = 21;
constexpr std::size_t kInformationLength = 20;
constexpr int kMaxStrays = 50;

// "MISSING" and "DISABLED" stand for a whole record.
std::size_t recordLength(char first, std::size_t otherwise) {
    return first == 'M' ? 7 : first == 'D' ? 8 : otherwise;
}

template <std::size_t N>
void takeRecord(TextCursor& cursor, char (&store)[N], std::size_t fullLength) {
    takeTerminated(cursor, store, recordLength(cursor.next(), fullLength));
}

// The text is longer than an entry and runs on into the entries of the next handles.
void takeInformation(DeviceRecord& record, TextCursor& cursor, int i) {
    constexpr std::size_t kEntrySize = sizeof(record.TxInformation[0]);
    const std::size_t begin = static_cast<std::size_t>(i) * kEntrySize;
    char* store = reinterpret_cast<char*>(record.TxInformation) + begin;
    cursor.take(store, sizeof(record.TxInformation) - begin, kInformationLength);
}

void takeHandle(DeviceRecord& record, TextCursor& cursor, int i, std::uint32_t option) {
    if ((option & kTransforms) != 0) {
        takeRecord(cursor, record.TxTransforms[i], kTransformLength);
        takeField(cursor, record.TxStatus[i]);
        takeField(cursor, record.TxFrame[i]);
    }
    if ((option & kInformation) != 0) {
        takeInformation(record, cursor, i);
    }
    if ((option & kSingleStray) != 0) {
        takeRecord(cursor, record.TxSingleStray[i], kStrayLength);
    }
}

int takeHandles(DeviceRecord& record, TextCursor& cursor, std::uint32_t option) {
    int count = static_cast<int>(cursor.takeHex(2));
    for (int i = 0; i < count;) {
        const std::uint32_t handle = cursor.takeHex(2);
        if (cursor.next() == 'U') {
            cursor.skip(kUnoccupiedLength);
            cursor.skipLineFeed();
            --count;
            continue;
        }
        if (i < NDI_MAX_HANDLES) {
            record.TxHandles[i] = static_cast<std::uint8_t>(handle);
            takeHandle(record, cursor, i, option);
        }
        cursor.skipLine();
        ++i;
    }
    return std::min(count, NDI_MAX_HANDLES);
}

void takePassiveStrays(DeviceRecord& record, TextCursor& cursor) {
    const int count = std::min(static_cast<int>(cursor.takeHex(2)), kMaxStrays);
    record.TxPassiveStrayCount = count;
    cursor.take(record.TxPassiveStrayOov, sizeof(record.TxPassiveStrayOov),
                static_cast<std::size_t>((count + 3) / 4));
    takeTerminated(cursor, record.TxPassiveStray, static_cast<std::size_t>(count) * kStrayLength);
}

} // namespace

void decodeTx(DeviceRecord& record, const Reply& reply) {
    const std::uint32_t option = replyOption(reply.command, 2, 3, kTransforms);
    TextCursor cursor(reply.data);
    record.TxHandleCount = takeHandles(record, cursor, option);
    if ((option & kPassiveStrays) != 0) {
        takePassiveStrays(record, cursor);
    }
    takeField(cursor, record.TxSystemStatus);
}

} // namespace protocol

#include "protocol/decode.h"
#include "protocol/reply_option.h"
#include "protocol/text_cursor.h"

namespace protocol {
namespace {

constexpr std::uint32_t kTransforms = 0x0001;
constexpr std::uint32_t kInformation = 0x0002;
constexpr std::uint32_t kSingleStray = 0x0004;
constexpr std::uint32_t kFrames = 0x0008;
constexpr std::uint32_t kPassiveStrays = 0x1000;
constexpr std::uint32_t kAllPassivePorts = 0x2000;
constexpr std::uint32_t kPassivePorts = 0x8000;

constexpr std::size_t kTransformLength = 51;
constexpr std::size_t kStrayLength = 21;
constexpr std::size_t kPassiveStrayLength = 423;
constexpr int kGroup = 3; // the wired ports, and the passive ports that share a status text
constexpr std::size_t kGroupStatusLength = 8;

template <std::size_t Ports, std::size_t N>
void takeFields(TextCursor& cursor, char (&stores)[Ports][N], int count) {
    for (int i = 0; i < count; ++i) {
        takeField(cursor, stores[i]);
        cursor.skipLineFeed();
    }
}

template <std::size_t N>
void takeLine(TextCursor& cursor, char (&store)[N], std::size_t length) {
    takeTerminated(cursor, store, length);
    cursor.skipLineFeed();
}

void takeWired(DeviceRecord& record, TextCursor& cursor, std::uint32_t option) {
    if ((option & kTransforms) != 0) {
        for (auto& transform : record.GxTransforms) {
            takeLine(cursor, transform, kTransformLength);
        }
        takeField(cursor, record.GxStatus);
        cursor.skipLineFeed();
    }
    if ((option & kInformation) != 0) {
        takeFields(cursor, record.GxInformation, kGroup);
    }
    if ((option & kSingleStray) != 0) {
        for (auto& stray : record.GxSingleStray) {
            takeLine(cursor, stray, kStrayLength);
        }
    }
    if ((option & kFrames) != 0) {
        takeFields(cursor, record.GxFrame, kGroup);
    }
}

// Three ports and their status at a time. A reply for fewer ports ends without a line feed.
//   result  the number of ports that the reply is about
int takePassiveTransforms(DeviceRecord& record, TextCursor& cursor, int ports) {
    for (int first = 0; first < ports; first += kGroup) {
        for (int i = first; i < first + kGroup; ++i) {
            takeLine(cursor, record.GxPassiveTransforms[i], kTransformLength);
        }
        const auto group = static_cast<std::size_t>(first / kGroup);
        cursor.take(record.GxPassiveStatus + group * kGroupStatusLength, kGroupStatusLength,
                    kGroupStatusLength);
        if (!cursor.skipLineFeed()) {
            return first + kGroup;
        }
    }
    return ports;
}

void takePassive(DeviceRecord& record, TextCursor& cursor, std::uint32_t option) {
    int ports = (option & kAllPassivePorts) != 0 ? 3 * kGroup : kGroup;
    if ((option & kTransforms) != 0 || option == kPassivePorts) {
        ports = takePassiveTransforms(record, cursor, ports);
    }
    if ((option & kInformation) != 0) {
        takeFields(cursor, record.GxPassiveInformation, ports);
    }
    if ((option & kFrames) != 0) {
        takeFields(cursor, record.GxPassiveFrame, ports);
    }
}

} // namespace

void decodeGx(DeviceRecord& record, const Reply& reply) {
    const std::uint32_t option = replyOption(reply.command, 2, 3, kTransforms);
    TextCursor cursor(reply.data);
    takeWired(record, cursor, option);
    if ((option & kPassivePorts) != 0) {
        takePassive(record, cursor, option);
    }
    if ((option & kPassiveStrays) != 0) {
        cursor.take(record.GxPassiveStray, sizeof(record.GxPassiveStray) - 1, kPassiveStrayLength);
    }
}

} // namespace protocol

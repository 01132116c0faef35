#include "protocol/replies.h"
#include "protocol/reply_text.h"

namespace protocol {
namespace {

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
        overlayField(cursor, record.TxStatus[i]);
        overlayField(cursor, record.TxFrame[i]);
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

// ---- GX

constexpr std::size_t kPassiveStrayLength = 423;
constexpr int kGroup = 3; // the wired ports, and the passive ports that share a status text
constexpr std::size_t kGroupStatusLength = 8;

template <std::size_t Ports, std::size_t N>
void takeFields(TextCursor& cursor, char (&stores)[Ports][N], int count) {
    for (int i = 0; i < count; ++i) {
        overlayField(cursor, stores[i]);
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
        overlayField(cursor, record.GxStatus);
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

// ---- Accessors

// What an accessor says of a text that may stand for a tool without a pose.
enum PoseState { kPose = 0, kNoTool = 1, kNotSeen = 2 };

PoseState poseState(char first) {
    return first == 'M' ? kNotSeen : first == 'D' || first == '\0' ? kNoTool : kPose;
}

// q0, qx, qy, qz, tx, ty, tz and error of a transform text; nothing unless it is a pose.
PoseState readTransform(std::string_view text, double* values) {
    const PoseState state = poseState(charAt(text, 0));
    if (state == kPose) {
        for (std::size_t k = 0; k < 4; ++k) {
            values[k] = signedAt(text, 6 * k, 6) * kRotationScale;
        }
        positionAt(text, 24, values + 4);
        values[7] = signedAt(text, 45, 6) * kRotationScale;
    }
    return state;
}

// The entry of a handle in the last reply; -1 when there is none.
int find(const DeviceRecord* record, int handle) {
    const int count = std::min<int>(record->TxHandleCount, NDI_MAX_HANDLES);
    for (int i = 0; i < count; ++i) {
        if (record->TxHandles[i] == handle) {
            return i;
        }
    }
    return -1;
}

} // namespace

void decodeTx(DeviceRecord& record, const Reply& reply) {
    const std::uint32_t option = replyOption(reply.command, 2, 3, kTransforms);
    TextCursor cursor(reply.data);
    record.TxHandleCount = takeHandles(record, cursor, option);
    if ((option & kPassiveStrays) != 0) {
        takePassiveStrays(record, cursor);
    }
    overlayField(cursor, record.TxSystemStatus);
}

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

using namespace protocol;

int deviceTxTransform(const DeviceRecord* record, int handle, double* values) {
    const int i = find(record, handle);
    return i < 0 ? kNoTool : readTransform(storedText(record->TxTransforms[i]), values);
}

int deviceTxTransformF(const DeviceRecord* record, int handle, float* values) {
    double wide[8];
    const int state = deviceTxTransform(record, handle, wide);
    if (state == kPose) {
        std::transform(wide, wide + 8, values, [](double v) { return static_cast<float>(v); });
    }
    return state;
}

std::uint32_t deviceTxPortStatus(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : parseHex({record->TxStatus[i], 8}, 8);
}

std::uint32_t deviceTxFrameNumber(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : parseHex({record->TxFrame[i], 8}, 8);
}

int deviceTxToolInformation(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : static_cast<int>(parseHex({record->TxInformation[i], 2}, 2));
}

int deviceTxSingleStray(const DeviceRecord* record, int handle, double* position) {
    const int i = find(record, handle);
    if (i < 0) {
        return kNoTool;
    }
    const PoseState state = poseState(record->TxSingleStray[i][0]);
    if (state == kPose) {
        positionAt(storedText(record->TxSingleStray[i]), 0, position);
    }
    return state;
}

int deviceTxSystemStatus(const DeviceRecord* record) {
    return hexField(record->TxSystemStatus);
}

int deviceTxPassiveStrayCount(const DeviceRecord* record) {
    return record->TxPassiveStrayCount;
}

int deviceTxPassiveStray(const DeviceRecord* record, int index, double* position) {
    if (record->TxPassiveStray[0] == '\0') {
        return 1;
    }
    if (index < 0 || index >= std::min<int>(record->TxPassiveStrayCount, kMaxStrays)) {
        return 2;
    }
    positionAt(storedText(record->TxPassiveStray), kStrayLength * static_cast<std::size_t>(index),
               position);
    return 0;
}

int deviceGxTransform(const DeviceRecord* record, char port, double* values) {
    if (port >= '1' && port <= '3') {
        return readTransform(storedText(record->GxTransforms[port - '1']), values);
    }
    if (port >= 'A' && port <= 'I') {
        return readTransform(storedText(record->GxPassiveTransforms[port - 'A']), values);
    }
    return kNoTool;
}

#include "protocol/channel.h"
#include "protocol/errors.h"
#include "protocol/net.h"
#include "protocol/platform/platform.h"
#include "protocol/transport.h"

#include <algorithm>

namespace protocol {
namespace {

void trace(const DeviceRecord& record, bool wasSent, const char* bytes, int length) {
    if (record.traceCallback != nullptr) {
        record.traceCallback(wasSent, bytes, length, record.traceCallbackData);
    }
}

std::int32_t send(const DeviceRecord& record, std::string_view command) {
    const int length = static_cast<int>(command.size());
    const int written = isSerial(record) ? serialWrite(record.serialPort, command.data(), length)
                                         : netWrite(record.socket, command.data(), length);
    if (written < 0) {
        return kWriteFailed;
    }
    return written < length ? kTimeout : 0;
}

// Only a serial read gives the device's own error code; a network read gives the system's.
int read(const DeviceRecord& record, bool binary, char* buffer, Received& received) {
    return isSerial(record)
               ? serialRead(record.serialPort, buffer, kMaxReply, binary, &received.error)
               : readCounting(record.socket, buffer, kMaxReply, binary, received.arrived);
}

// Over TCP no answer gets lost, it only gets late: a packet that did is sent again after 200 ms,
// and if need be after 400 ms more. An answer that is taken for the next command's puts all later
// ones one command out of step, poses among them.
constexpr int kMostLateMs = 600;

void dropLateAnswers(DeviceRecord& record) {
    if (record.unanswered == 0) {
        discardWaiting(record.socket);
        return;
    }
    const int ms = record.missedTimeoutMs;
    const bool came = discardLate(record.socket, std::min(6 * ms, kMostLateMs), ms);
    if (came && record.unanswered == 1) {
        record.unanswered = 0;
    }
}

// An answer after others that did not come is only believed if no further one follows: else it was
// one of those, and what followed was its own.
bool isOwnAnswer(DeviceRecord& record, bool isFollowed) {
    if (record.unanswered == 0) {
        return true;
    }
    const int ms = record.missedTimeoutMs;
    const bool isOwn = !discardLate(record.socket, ms, ms) && !isFollowed;
    record.unanswered = isOwn ? 0 : 1;
    return isOwn;
}

void noteMissingAnswer(DeviceRecord& record) {
    record.unanswered = static_cast<std::uint8_t>(std::min(record.unanswered + 1, 255));
    record.missedTimeoutMs = std::min(platform::getReceiveTimeout(record.socket), kMostLateMs);
}

void dropOldReplies(DeviceRecord& record) {
    if (isSerial(record)) {
        serialPurge(record.serialPort, 1);
    } else {
        dropLateAnswers(record);
    }
}

} // namespace

Received receiveReply(const DeviceRecord& record, bool binary, char* buffer) {
    Received received;
    const int length = read(record, binary, buffer, received);
    buffer[length > 0 ? length : 0] = '\0';
    trace(record, false, buffer, length > 0 ? length : 0);
    if (length <= 0) {
        received.error = length < 0 ? kReadFailed : kTimeout;
        return received;
    }
    received.length = length;
    return received;
}

Received exchange(DeviceRecord& record, std::string_view command, bool binary, char* buffer) {
    dropOldReplies(record);
    trace(record, true, command.data(), static_cast<int>(command.size()));
    if (const std::int32_t error = send(record, command)) {
        buffer[0] = '\0';
        return {.error = error};
    }
    Received received = receiveReply(record, binary, buffer);
    if (isSerial(record)) {
        return received;
    }
    if (received.error == 0 && !isOwnAnswer(record, received.arrived > received.length)) {
        buffer[0] = '\0';
        return {.error = kTimeout};
    }
    if (received.error == kTimeout) {
        noteMissingAnswer(record);
    }
    return received;
}

void pauseTransport(const DeviceRecord& record, int ms) {
    isSerial(record) ? serialSleep(ms) : netSleep(ms);
}

} // namespace protocol

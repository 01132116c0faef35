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
int read(const DeviceRecord& record, bool binary, char* buffer, std::int32_t& deviceError) {
    return isSerial(record) ? serialRead(record.serialPort, buffer, kMaxReply, binary, &deviceError)
                            : netRead(record.socket, buffer, kMaxReply, binary, nullptr);
}

// Over TCP no answer gets lost, it only gets late: a packet that did is sent again after 200 ms,
// and if need be after 400 ms more. An answer that is taken for the next command's puts all later
// ones one command out of step, poses among them.
enum LateAnswer : std::uint8_t {
    kNone,
    kExpected, // the last command got none
    kPossible, // it did not come when it was waited for, but the next command's seems to have
};
constexpr int kMostLateMs = 600;

void dropLateAnswer(DeviceRecord& record) {
    if (record.lateAnswer == kNone) {
        discardWaiting(record.socket);
        return;
    }
    const bool isExpected = record.lateAnswer == kExpected;
    const int ms = std::min(record.lateTimeoutMs, kMostLateMs);
    const bool came = discardLate(record.socket, isExpected ? std::min(6 * ms, kMostLateMs) : ms);
    record.lateAnswer = isExpected && !came ? kExpected : kNone;
}

void noteAnswer(DeviceRecord& record, std::int32_t error) {
    if (error == kTimeout) {
        record.lateAnswer = kExpected;
        record.lateTimeoutMs = platform::getReceiveTimeout(record.socket);
    } else if (record.lateAnswer == kExpected) {
        record.lateAnswer = kPossible;
    }
}

void dropOldReplies(DeviceRecord& record) {
    if (isSerial(record)) {
        serialPurge(record.serialPort, 1);
    } else {
        dropLateAnswer(record);
    }
}

} // namespace

Received receiveReply(const DeviceRecord& record, bool binary, char* buffer) {
    std::int32_t deviceError = 0;
    const int length = read(record, binary, buffer, deviceError);
    buffer[length > 0 ? length : 0] = '\0';
    trace(record, false, buffer, length > 0 ? length : 0);
    if (length <= 0) {
        return {0, length < 0 ? kReadFailed : kTimeout};
    }
    return {length, deviceError};
}

Received exchange(DeviceRecord& record, std::string_view command, bool binary, char* buffer) {
    dropOldReplies(record);
    trace(record, true, command.data(), static_cast<int>(command.size()));
    if (const std::int32_t error = send(record, command)) {
        buffer[0] = '\0';
        return {0, error};
    }
    const Received received = receiveReply(record, binary, buffer);
    if (!isSerial(record)) {
        noteAnswer(record, received.error);
    }
    return received;
}

void pauseTransport(const DeviceRecord& record, int ms) {
    isSerial(record) ? serialSleep(ms) : netSleep(ms);
}

} // namespace protocol

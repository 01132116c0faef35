#include "protocol/channel.h"
#include "protocol/errors.h"
#include "protocol/net.h"
#include "protocol/transport.h"

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

void dropOldReplies(const DeviceRecord& record) {
    if (isSerial(record)) {
        serialPurge(record.serialPort, 1);
    } else {
        discardWaiting(record.socket);
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

Received exchange(const DeviceRecord& record, std::string_view command, bool binary, char* buffer) {
    dropOldReplies(record);
    trace(record, true, command.data(), static_cast<int>(command.size()));
    if (const std::int32_t error = send(record, command)) {
        buffer[0] = '\0';
        return {0, error};
    }
    return receiveReply(record, binary, buffer);
}

void pauseTransport(const DeviceRecord& record, int ms) {
    isSerial(record) ? serialSleep(ms) : netSleep(ms);
}

} // namespace protocol

#pragma once

#include "protocol/device.h"

namespace protocol {

// Size of every command and reply buffer. Replies are at most one byte less, so that the last byte
// of a buffer is always zero.
inline constexpr int kBufferSize = 2048;
inline constexpr int kMaxReply = kBufferSize - 1;

inline constexpr int kNoHandle = -1;

// A zeroed record with its three buffers and no connection; null when memory ran out.
DeviceRecord* allocateRecord();

// Releases the record with its names and buffers. The connection must be closed and the reader
// thread off.
void freeRecord(DeviceRecord* record);

inline bool isSerial(const DeviceRecord& record) {
    return record.serialPort != kNoHandle;
}

inline bool isConnected(const DeviceRecord& record) {
    return isSerial(record) || record.hostName != nullptr || record.tcpPort >= 0;
}

// Sets the error code and tells the callback.
void setError(DeviceRecord& record, std::int32_t code);

} // namespace protocol

#include "protocol/record.h"

#include "protocol/link.h"

#include <new>
#include <type_traits>

static_assert(std::is_standard_layout_v<DeviceRecord> && std::is_trivial_v<DeviceRecord>);

namespace protocol {

DeviceRecord* allocateRecord() {
    auto* record = new (std::nothrow) DeviceRecord{};
    if (record == nullptr) {
        return nullptr;
    }
    record->serialPort = kNoHandle;
    record->socket = kNoHandle;
    record->tcpPort = -1;
    record->link = new (std::nothrow) Link;
    record->commandBuffer = new (std::nothrow) char[kBufferSize]();
    record->rawReply = new (std::nothrow) char[kBufferSize]();
    record->reply = new (std::nothrow) char[kBufferSize]();
    if (!record->link || !record->commandBuffer || !record->rawReply || !record->reply) {
        freeRecord(record);
        return nullptr;
    }
    return record;
}

void freeRecord(DeviceRecord* record) {
    delete static_cast<Link*>(record->link);
    delete[] record->deviceName;
    delete[] record->hostName;
    delete[] record->commandBuffer;
    delete[] record->rawReply;
    delete[] record->reply;
    delete record;
}

void setError(DeviceRecord& record, std::int32_t code) {
    record.errorCode = code;
    if (record.errorCallback != nullptr) {
        record.errorCallback(code, deviceErrorText(code), record.errorCallbackData);
    }
}

} // namespace protocol

std::int32_t deviceGetError(const DeviceRecord* record) {
    return record->errorCode;
}

void deviceSetTraceCallback(DeviceRecord* record, DeviceTraceCallback callback, void* userData) {
    record->traceCallback = callback;
    record->traceCallbackData = userData;
}

void deviceSetErrorCallback(DeviceRecord* record, DeviceErrorCallback callback, void* userData) {
    record->errorCallback = callback;
    record->errorCallbackData = userData;
}

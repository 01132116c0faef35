#pragma once

#include "protocol/record.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// A record without a connection, for decoders and accessors.
struct FreeRecord {
    void operator()(DeviceRecord* record) const { protocol::freeRecord(record); }
};
using RecordPtr = std::unique_ptr<DeviceRecord, FreeRecord>;

inline RecordPtr makeRecord() {
    return RecordPtr(protocol::allocateRecord());
}

// An open connection.
struct CloseDevice {
    void operator()(DeviceRecord* record) const { deviceCloseNetwork(record); }
};
using DevicePtr = std::unique_ptr<DeviceRecord, CloseDevice>;

// What an error callback was told, in order.
struct ErrorLog {
    std::vector<std::int32_t> codes;
    std::string lastText;

    void listenTo(DeviceRecord* record) {
        deviceSetErrorCallback(
            record,
            [](std::int32_t code, const char* text, void* self) {
                static_cast<ErrorLog*>(self)->codes.push_back(code);
                static_cast<ErrorLog*>(self)->lastText = text;
            },
            this);
    }
};

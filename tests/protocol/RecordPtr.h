#pragma once

#include "protocol/record.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct CloseDevice {
    void operator()(DeviceRecord* record) const { deviceCloseNetwork(record); }
};
using RecordPtr = std::unique_ptr<DeviceRecord, CloseDevice>;

// A record without a connection, for decoders and accessors.
inline RecordPtr makeRecord() {
    return RecordPtr(protocol::allocateRecord());
}

// What an error callback was told, in order.
struct ErrorLog {
    std::vector<std::int32_t> codes;
    std::string lastText;

    void listenTo(DeviceRecord* record) {
        const auto note = [](std::int32_t code, const char* text, void* self) {
            static_cast<ErrorLog*>(self)->codes.push_back(code);
            static_cast<ErrorLog*>(self)->lastText = text;
        };
        deviceSetErrorCallback(record, note, this);
    }
};

#include "protocol/record.h"
#include "protocol/transport.h"

#include "protocol/platform/platform.h"

#include <cstring>
#include <new>

using namespace protocol;

namespace {

char* copyText(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    char* copy = new (std::nothrow) char[size];
    if (copy != nullptr) {
        std::memcpy(copy, text, size);
    }
    return copy;
}

DeviceRecord* makeSerialRecord(std::intptr_t port, const char* name) {
    DeviceRecord* record = allocateRecord();
    if (record == nullptr) {
        return nullptr;
    }
    record->serialPort = port;
    record->deviceName = copyText(name);
    if (record->deviceName == nullptr) {
        freeRecord(record);
        return nullptr;
    }
    return record;
}

DeviceRecord* makeNetworkRecord(std::int64_t socket, const char* host, std::uint16_t port) {
    DeviceRecord* record = allocateRecord();
    if (record == nullptr) {
        return nullptr;
    }
    record->socket = socket;
    record->tcpPort = port;
    record->hostName = copyText(host);
    if (record->hostName == nullptr) {
        freeRecord(record);
        return nullptr;
    }
    return record;
}

void closeDevice(DeviceRecord* record) {
    if (record == nullptr) {
        return;
    }
    deviceSetThreadMode(record, false);
    if (isSerial(*record)) {
        serialClose(record->serialPort);
    } else if (record->socket != kNoHandle) {
        netClose(record->socket);
    }
    freeRecord(record);
}

} // namespace

DeviceRecord* deviceOpenSerial(const char* name) {
    const std::intptr_t port = serialOpen(name);
    if (port == kNoHandle) {
        return nullptr;
    }
    DeviceRecord* record = nullptr;
    if (serialSetLine(port, 9600, "8N1", false) == 0) {
        serialPurge(port, 3);
        record = makeSerialRecord(port, name);
    }
    if (record == nullptr) {
        serialClose(port);
    }
    return record;
}

DeviceRecord* deviceOpenNetwork(const char* host, std::uint16_t port) {
    const std::int64_t socket = netConnect(host, port);
    if (socket == kNoHandle) {
        return nullptr;
    }
    DeviceRecord* record = makeNetworkRecord(socket, host, port);
    if (record == nullptr) {
        netClose(socket);
    }
    return record;
}

void deviceCloseSerial(DeviceRecord* record) {
    closeDevice(record);
}

void deviceCloseNetwork(DeviceRecord* record) {
    closeDevice(record);
}

void deviceSetNetworkTimeout(DeviceRecord* record, int ms) {
    if (ms >= 1 && record->socket != kNoHandle) {
        platform::setReceiveTimeout(record->socket, ms);
    }
}

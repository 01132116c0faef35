#include "protocol/device.h"
#include "protocol/text_number.h"

#include <algorithm>

using namespace protocol;

namespace {

// PHSR: the count in two digits, then entries of a handle in two digits and a status in three.
constexpr std::size_t kEntrySize = 5;

int phsrField(const DeviceRecord* record, int index, std::size_t offset, std::size_t width) {
    if (index < 0 || index > devicePhsrCount(record)) {
        return 0;
    }
    const std::string_view text(record->PhsrReply, sizeof(record->PhsrReply));
    const std::size_t entry = kEntrySize * static_cast<std::size_t>(index);
    return static_cast<int>(parseHex(tailAt(text, entry + offset), width));
}

} // namespace

int devicePhrqHandle(const DeviceRecord* record) {
    return hexField(record->PhrqReply);
}

int devicePhsrCount(const DeviceRecord* record) {
    return static_cast<int>(parseHex({record->PhsrReply, 2}, 2));
}

int devicePhsrHandle(const DeviceRecord* record, int index) {
    return phsrField(record, index, 2, 2);
}

int devicePhsrStatus(const DeviceRecord* record, int index) {
    return phsrField(record, index, 4, 3);
}

int devicePhinfBasic(const DeviceRecord* record, char* out) {
    std::copy_n(record->PhinfBasic, 31, out);
    return record->PhinfUnoccupied;
}

int devicePhinfPartNumber(const DeviceRecord* record, char* out) {
    std::copy_n(record->PhinfPartNumber, 20, out);
    return record->PhinfUnoccupied;
}

int devicePhinfPortLocation(const DeviceRecord* record, char* out) {
    std::copy_n(record->PhinfPortLocation, 14, out);
    return record->PhinfUnoccupied;
}

int devicePhinfBasicTail(const DeviceRecord* record) {
    return static_cast<int>(parseHex({record->PhinfBasic + 31, 2}, 2));
}

std::uint32_t devicePhinfTesting(const DeviceRecord* record) {
    return parseHex({record->PhinfTesting, 8}, 8);
}

int devicePhinfAccessories(const DeviceRecord* record) {
    return hexField(record->PhinfAccessories);
}

int devicePhinfMarkerType(const DeviceRecord* record) {
    return hexField(record->PhinfMarkerType);
}

int devicePhinfGpioStatus(const DeviceRecord* record) {
    return hexField(record->PhinfGpioStatus);
}

#include "protocol/device.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint8_t kMissingBit = 0x02;
constexpr std::uint8_t kDisabledBit = 0x04;
constexpr int kMaxStrays = 240;

// The entry of a handle in the last reply; -1 when there is none.
int find(const DeviceRecord* record, int handle) {
    const int count = std::min<int>(record->BxHandleCount, NDI_MAX_HANDLES);
    for (int i = 0; i < count; ++i) {
        if (record->BxHandles[i] == handle) {
            return i;
        }
    }
    return -1;
}

} // namespace

int deviceBxTransform(const DeviceRecord* record, int handle, float* values) {
    const int i = find(record, handle);
    if (i < 0) {
        return 1;
    }
    std::memcpy(values, record->BxTransforms[i], sizeof(record->BxTransforms[i]));
    const std::uint8_t status = record->BxHandlesStatus[i];
    return (status & kDisabledBit) != 0 ? 1 : (status & kMissingBit) != 0 ? 2 : 0;
}

std::uint32_t deviceBxFrameNumber(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : record->BxFrameNumber[i];
}

std::uint32_t deviceBxPortStatus(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : record->BxPortStatus[i];
}

int deviceBxToolInformation(const DeviceRecord* record, int handle, std::uint8_t* information) {
    const int i = find(record, handle);
    if (i < 0) {
        return 1;
    }
    *information = record->BxToolMarkerInformation[i][0];
    return 0;
}

int deviceBxSingleStray(const DeviceRecord* record, int handle, float* position) {
    const int i = find(record, handle);
    if (i < 0) {
        return 1;
    }
    std::copy_n(record->BxActiveSingleStrayMarkerPosition[i], 3, position);
    return 0;
}

std::uint32_t deviceBxSystemStatus(const DeviceRecord* record) {
    return record->BxSystemStatus;
}

int deviceBxPassiveStrayCount(const DeviceRecord* record) {
    return record->BxPassiveStrayCount;
}

int deviceBxPassiveStray(const DeviceRecord* record, int index, float* position) {
    if (index < 0 || index >= kMaxStrays || index > record->BxPassiveStrayCount) {
        return 1;
    }
    std::copy_n(record->BxPassiveStrayPosition[index], 3, position);
    return 0;
}

#include "protocol/device.h"
#include "protocol/transform_text.h"

#include <algorithm>

using namespace protocol;

namespace {

constexpr int kMaxStrays = 50;
constexpr std::size_t kStrayLength = 21;

// The entry of a handle in the last reply; -1 when there is none.
int find(const DeviceRecord* record, int handle) {
    const int count = std::min<int>(record->TxHandleCount, NDI_MAX_HANDLES);
    for (int i = 0; i < count; ++i) {
        if (record->TxHandles[i] == handle) {
            return i;
        }
    }
    return -1;
}

} // namespace

TextState protocol::readTransform(std::string_view text, double* values) {
    const TextState state = textState(charAt(text, 0));
    if (state == kTextValid) {
        for (std::size_t k = 0; k < 4; ++k) {
            values[k] = signedAt(text, 6 * k, 6) * kRotationScale;
        }
        positionAt(text, 24, values + 4);
        values[7] = signedAt(text, 45, 6) * kRotationScale;
    }
    return state;
}

int deviceTxTransform(const DeviceRecord* record, int handle, double* values) {
    const int i = find(record, handle);
    return i < 0 ? kTextDisabled : readTransform(storedText(record->TxTransforms[i]), values);
}

int deviceTxTransformF(const DeviceRecord* record, int handle, float* values) {
    double wide[8];
    const int state = deviceTxTransform(record, handle, wide);
    if (state == kTextValid) {
        std::transform(wide, wide + 8, values, [](double v) { return static_cast<float>(v); });
    }
    return state;
}

std::uint32_t deviceTxPortStatus(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : parseHex({record->TxStatus[i], 8}, 8);
}

std::uint32_t deviceTxFrameNumber(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : parseHex({record->TxFrame[i], 8}, 8);
}

int deviceTxToolInformation(const DeviceRecord* record, int handle) {
    const int i = find(record, handle);
    return i < 0 ? 0 : static_cast<int>(parseHex({record->TxInformation[i], 2}, 2));
}

int deviceTxSingleStray(const DeviceRecord* record, int handle, double* position) {
    const int i = find(record, handle);
    if (i < 0) {
        return kTextDisabled;
    }
    const TextState state = textState(record->TxSingleStray[i][0]);
    if (state == kTextValid) {
        positionAt(storedText(record->TxSingleStray[i]), 0, position);
    }
    return state;
}

int deviceTxSystemStatus(const DeviceRecord* record) {
    return hexField(record->TxSystemStatus);
}

int deviceTxPassiveStrayCount(const DeviceRecord* record) {
    return record->TxPassiveStrayCount;
}

int deviceTxPassiveStray(const DeviceRecord* record, int index, double* position) {
    if (record->TxPassiveStray[0] == '\0') {
        return 1;
    }
    if (index < 0 || index >= std::min<int>(record->TxPassiveStrayCount, kMaxStrays)) {
        return 2;
    }
    positionAt(storedText(record->TxPassiveStray), kStrayLength * static_cast<std::size_t>(index),
               position);
    return 0;
}

int deviceGxTransform(const DeviceRecord* record, char port, double* values) {
    if (port >= '1' && port <= '3') {
        return readTransform(storedText(record->GxTransforms[port - '1']), values);
    }
    if (port >= 'A' && port <= 'I') {
        return readTransform(storedText(record->GxPassiveTransforms[port - 'A']), values);
    }
    return kTextDisabled;
}

#pragma once

#include <cstdint>

struct DeviceRecord;

namespace Morvalin {

/// The commands that make a port handle ready. The device's errors are reported by its error
/// callback.
void initializePort(DeviceRecord* device, std::int32_t portHandle);
/// As a dynamic tool: one that may move fast.
void enablePort(DeviceRecord* device, std::int32_t portHandle);

} // namespace Morvalin

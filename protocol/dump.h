#pragma once

#include "protocol/device.h"

#include <string>

namespace protocol {

// The text of deviceDumpState.
std::string describeState(const DeviceRecord& record);

} // namespace protocol

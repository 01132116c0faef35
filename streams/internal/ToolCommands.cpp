#include "streams/internal/ToolCommands.h"

#include "protocol/device.h"

namespace Morvalin {

void initializePort(DeviceRecord* device, std::int32_t portHandle) {
    deviceCommand(device, "PINIT:%02X", static_cast<unsigned>(portHandle));
}

void enablePort(DeviceRecord* device, std::int32_t portHandle) {
    deviceCommand(device, "PENA:%02X%c", static_cast<unsigned>(portHandle), 'D');
}

} // namespace Morvalin

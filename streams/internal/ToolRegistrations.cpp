#include "streams/internal/ToolRegistrations.h"

namespace Morvalin {

void storePortHandle(ToolRegistrations& registrations, std::size_t index,
                     const NDITrackingInstrumentInfo& tool) {
    registrations.access([&](std::vector<NDITrackingInstrumentInfo>& tools) {
        if (index >= tools.size())
            return;
        NDITrackingInstrumentInfo& held = tools[index];
        if (held.name == tool.name && held.romFile == tool.romFile && held.port == tool.port)
            held.portHandle = tool.portHandle;
    });
}

} // namespace Morvalin

#include "plugin/SerialPortSettings.h"

#include "protocol/transport.h"
#include "streams/internal/DeviceAddress.h"

#include <morvalincore/Properties.h>

#include <string>

namespace Morvalin {

void assignSerialPorts(const Properties& globalSettings) {
    const Properties* const ports = globalSettings.subProperties("SerialPorts");
    if (ports == nullptr)
        return;
    for (int index = 0; index < serialPortCount; ++index) {
        std::string path;
        if (ports->param(serialPortName(index), path))
            serialAssignPort(index, path.c_str());
    }
}

} // namespace Morvalin

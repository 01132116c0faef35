#pragma once

#include <functional>

#include <morvalincore/Export.h>
#include <morvalincore/Properties.h>

namespace Morvalin {

/// Process-wide settings of the host, shared by all plug-ins. Block "SerialPorts": one text per
/// serial port name, the path that the name stands for on this machine.
class MORVALINCORE_EXPORT GlobalSettings {
public:
    /// A copy of the settings as they are now. Any thread.
    static Properties snapshot();
    /// Runs `change` on the settings while no other thread reads them. `change` must not call back
    /// into this class.
    static void modify(const std::function<void(Properties&)>& change);
};

} // namespace Morvalin

#pragma once

#include "streams/NDIConnectionData.h"

namespace Morvalin {

/// Asks the device for its operating volumes and selects the one of the stored index. A reply that
/// ends too early empties the list; one that is none leaves it, and the device, as they were. The
/// caller holds the connection lock.
void queryDeviceVolumes(NDIConnectionData& connection);

} // namespace Morvalin

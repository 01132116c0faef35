#pragma once

#include <string>
#include <vector>

#include "streams/NDIConnectionData.h"

namespace Morvalin {

class Properties;

/// Writes address, TCP port or link speed, and query mode, as far as the kind of connection has
/// them. An address that cannot be one of its kind is cleared.
void writeConnection(Properties& properties, NDIConnectionData& connection,
                     const std::vector<std::string>& measurementRateOptions);

/// Reads what is there of address, TCP port and query mode.
void readConnection(const Properties& properties, NDIConnectionData& connection);

} // namespace Morvalin

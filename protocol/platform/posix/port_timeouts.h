#pragma once

#include "protocol/platform/platform.h"

namespace protocol::platform {

// This system keeps no time-outs with a port, so they stand in a table of the process. A port that
// has none there has the defaults of a newly opened one.
PortTimeouts timeoutsOf(std::intptr_t port);
bool storeTimeouts(std::intptr_t port, const PortTimeouts& timeouts);

// For a port that is about to be closed: its number will be given to others.
void forgetTimeouts(std::intptr_t port);

} // namespace protocol::platform

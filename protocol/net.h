#pragma once

#include <cstdint>

namespace protocol {

// Drops what waits in a socket. Done before every command: an answer that came after its time-out
// would otherwise be taken for the next one, and every later one would be late too.
void discardWaiting(std::int64_t socket);

} // namespace protocol

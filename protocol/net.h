#pragma once

#include <cstdint>

namespace protocol {

// Drops what waits in a socket.
void discardWaiting(std::int64_t socket);

// Waits for an answer that is late and drops it.
//   result  false when nothing came within so many milliseconds
bool discardLate(std::int64_t socket, int ms);

} // namespace protocol

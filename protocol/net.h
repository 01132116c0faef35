#pragma once

#include <cstdint>

namespace protocol {

// Drops what waits in a socket.
void discardWaiting(std::int64_t socket);

// Waits for answers that are late and drops them, until nothing comes for quietMs; for at most 20
// pieces.
//   result  false when nothing came within so many milliseconds
bool discardLate(std::int64_t socket, int ms, int quietMs);

// As netRead, and counts what arrived, which may be more than the reply.
int readCounting(std::int64_t socket, char* buffer, int max, bool binary, int& arrived);

} // namespace protocol

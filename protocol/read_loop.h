#pragma once

#include <cstdint>

namespace protocol {

// Where the bytes of a reply come from. Gives what has arrived, at most max bytes, as soon as
// anything has; 0 when the time-out passed or the peer ended; -1 on failure.
class ByteSource {
public:
    virtual int receive(char* buffer, int max) = 0;

protected:
    ~ByteSource() = default;
};

// The largest chunk that is asked for after the first one.
inline constexpr int kMaxChunk = 2048;

// Reads one reply: the one place that knows where a reply ends, for every transport.
//   result  the number of bytes in the reply; 0 or -1 as the source gave it
int readReply(ByteSource& source, char* buffer, int max, bool binary);

// The value of the digits behind "ERROR" in a reply; -1 when it is another reply.
std::int32_t deviceErrorIn(const char* reply, int length);

} // namespace protocol

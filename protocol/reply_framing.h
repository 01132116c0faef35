#pragma once

#include <cstdint>
#include <string_view>

// The one place that knows where a reply ends.
namespace protocol {

// Where the bytes of a reply come from. Gives what has arrived, at most max bytes, as soon as
// anything has; 0 when the time-out passed or the peer ended; -1 on failure.
class ByteSource {
public:
    virtual int receive(char* buffer, int max) = 0;

    // What came in one chunk with the last byte that the caller's buffer has room for.
    virtual void keepBeyond(const char*, int) {}

protected:
    ~ByteSource() = default;
};

// The largest chunk that is asked for after the first one.
inline constexpr int kMaxChunk = 2048;

// Reads one reply, for every transport. It ends with the chunk that ends in a carriage return, or
// at its declared length.
//   result  the number of bytes in the reply; 0 or -1 as the source gave it
int readReply(ByteSource& source, char* buffer, int max, bool binary);

// Follows a reply that nobody wants, byte by byte, to its end. A reply to a binary command may be
// an error text; what is neither never ends.
class ReplyFraming {
public:
    explicit ReplyFraming(bool expectsBinary = false) : m_expectsBinary(expectsBinary) {}

    // Of a reply whose beginning was lost.
    static ReplyFraming endless();

    // So many bytes may be read without reaching beyond the end.
    int wanted() const;
    void add(std::string_view bytes);
    bool isWhole() const { return m_isWhole; }

private:
    std::string_view start() const;
    bool endsWith(char last) const;

    bool m_expectsBinary;
    bool m_isWhole = false;
    int m_count = 0;
    char m_start[5] = {}; // enough to tell the kind and a binary length
};

// The value of the digits behind "ERROR" in a reply; -1 when it is another reply.
std::int32_t deviceErrorIn(const char* reply, int length);

} // namespace protocol

#pragma once

#include "protocol/reply_framing.h"

#include <cstdint>
#include <string_view>

namespace protocol {

// The bytes of a socket. The first is waited for as long as the socket's time-out says; from then
// on a reply has 10 s in all, however often a piece of it comes.
class SocketSource final : public ByteSource {
public:
    SocketSource(std::int64_t socket, std::int32_t* error) : m_socket(socket), m_error(error) {}

    int receive(char* buffer, int max) override;
    void keepBeyond(const char* bytes, int length) override;

    int arrived() const { return m_arrived; }
    bool hasEnded() const { return m_hasEnded; } // nothing can come any more
    std::string_view beyond() const { return {m_beyond, static_cast<std::size_t>(m_beyondLength)}; }

private:
    int leftMs();

    std::int64_t m_socket;
    std::int32_t* m_error;
    int m_arrived = 0;
    bool m_hasEnded = false;
    std::int64_t m_endMs = 0; // of the reply; set when its first piece has arrived
    int m_beyondLength = 0;
    char m_beyond[kMaxChunk];
};

} // namespace protocol

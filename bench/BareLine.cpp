#include "bench/BareLine.h"

#include <stdexcept>

#include <sys/socket.h>
#include <unistd.h>

namespace bench {

BareLine::BareLine(const Peer& peer) : m_descriptor(peer.connect()), m_kind(peer.kind()) {}

BareLine::~BareLine() {
    close(m_descriptor);
}

void BareLine::exchange(std::string_view request, std::size_t replyLength) {
    const bool isSocket = m_kind == Line::Tcp;
    const ssize_t sent = isSocket ? send(m_descriptor, request.data(), request.size(), MSG_NOSIGNAL)
                                  : write(m_descriptor, request.data(), request.size());
    if (sent != static_cast<ssize_t>(request.size())) {
        throw std::runtime_error("the bare line does not take a request");
    }
    for (std::size_t total = 0; total < replyLength;) {
        const ssize_t got = isSocket ? recv(m_descriptor, m_buffer.data(), m_buffer.size(), 0)
                                     : read(m_descriptor, m_buffer.data(), m_buffer.size());
        if (got <= 0) {
            throw std::runtime_error("the bare line gives no reply");
        }
        total += static_cast<std::size_t>(got);
    }
}

void BareLine::receiveNothing() {
    if (recv(m_descriptor, m_buffer.data(), m_buffer.size(), MSG_DONTWAIT) >= 0) {
        throw std::runtime_error("the bare line gives what nobody has asked for");
    }
}

} // namespace bench

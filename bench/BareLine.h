#pragma once

#include "bench/Peer.h"

#include <array>
#include <string_view>

namespace bench {

/// What every exchange with a peer costs at the least: one send and the receives that bring the
/// reply. Nothing is looked at.
class BareLine {
public:
    explicit BareLine(const Peer& peer);
    ~BareLine();
    BareLine(const BareLine&) = delete;
    BareLine& operator=(const BareLine&) = delete;

    /// Receives ask for a whole buffer each time, until so many bytes have come.
    void exchange(std::string_view request, std::size_t replyLength);

    /// On a socket: one receive that does not wait, with nothing to receive.
    void receiveNothing();

private:
    const int m_descriptor;
    const Line m_kind;
    std::array<char, 2048> m_buffer;
};

} // namespace bench

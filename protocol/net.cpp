#include "protocol/net.h"

#include "protocol/platform/platform.h"
#include "protocol/record.h"
#include "protocol/transport.h"

#include <algorithm>
#include <cstring>

using namespace protocol;
using platform::Transfer;

namespace {

// Lack of buffers passes; a system that stays without them must not keep the caller for ever.
constexpr int kMaxBufferWaits = 5000;

// A peer that sends a little at a time must not keep a command for ever.
constexpr int kReplyLimitMs = 10000;

} // namespace

int SocketSource::leftMs() {
    const std::int64_t now = platform::nowMs();
    if (m_endMs == 0) {
        m_endMs = now + kReplyLimitMs;
    }
    const int left = static_cast<int>(std::max<std::int64_t>(0, m_endMs - now));
    const int timeout = platform::getReceiveTimeout(m_socket);
    return timeout == 0 ? left : std::min(left, timeout);
}

int SocketSource::receive(char* buffer, int max) {
    for (int waits = 0; waits < kMaxBufferWaits; ++waits) {
        const Transfer got = m_arrived == 0
                                 ? platform::receiveFrom(m_socket, buffer, max)
                                 : platform::receiveWithin(m_socket, buffer, max, leftMs());
        if (got.systemError != 0 && m_error != nullptr) {
            *m_error = got.systemError;
        }
        if (got.fault == Transfer::Fault::none) {
            m_arrived += got.count;
            m_hasEnded = got.count == 0 && got.systemError == 0;
            return got.count;
        }
        if (got.fault != Transfer::Fault::noBuffers) {
            m_hasEnded = true;
            return -1;
        }
        netSleep(1);
    }
    return -1;
}

void SocketSource::keepBeyond(const char* bytes, int length) {
    m_beyondLength = std::min(length, kMaxChunk);
    std::memcpy(m_beyond, bytes, static_cast<std::size_t>(m_beyondLength));
}

std::int64_t netConnect(const char* host, std::uint16_t port) {
    if (host == nullptr || !platform::startSockets()) {
        return kNoHandle;
    }
    const std::int64_t socket = platform::createSocket();
    if (socket == kNoHandle) {
        return kNoHandle;
    }
    std::uint8_t address[4];
    if (!platform::setNoDelay(socket) || !platform::resolveHost(host, address) ||
        !platform::connectSocket(socket, address, port)) {
        platform::closeSocket(socket);
        return kNoHandle;
    }
    return socket;
}

void netClose(std::int64_t socket) {
    platform::closeSocket(socket);
}

int netRead(std::int64_t socket, char* buffer, int max, bool binary, std::int32_t* error) {
    SocketSource source(socket, error);
    return readReply(source, buffer, max, binary);
}

int netWrite(std::int64_t socket, const char* bytes, int n) {
    int sent = 0;
    while (sent < n) {
        const Transfer put = platform::sendTo(socket, bytes + sent, n - sent);
        if (put.fault != Transfer::Fault::none) {
            return -1;
        }
        if (put.count == 0) {
            break;
        }
        sent += put.count;
    }
    return sent;
}

void netSleep(int ms) {
    platform::sleepMs(ms);
}

int netPurge(std::int64_t) {
    return 0;
}

#include "protocol/net.h"

#include "protocol/platform/platform.h"
#include "protocol/read_loop.h"
#include "protocol/record.h"
#include "protocol/transport.h"

using namespace protocol;
using platform::Transfer;

namespace {

// Lack of buffers passes; a system that stays without them must not keep the caller for ever.
constexpr int kMaxBufferWaits = 5000;

// A peer that never stops sending must not keep a command from being sent: 1 MiB is far more than
// all that can be late.
constexpr int kMaxDiscards = 256;
constexpr int kDiscardSize = 4096;

// Nor one that sends a little at a time.
constexpr int kMaxLatePieces = 20;

class SocketSource final : public ByteSource {
public:
    SocketSource(std::int64_t socket, std::int32_t* error) : m_socket(socket), m_error(error) {}

    int receive(char* buffer, int max) override {
        for (int waits = 0; waits < kMaxBufferWaits; ++waits) {
            const Transfer got = platform::receiveFrom(m_socket, buffer, max);
            if (got.systemError != 0 && m_error != nullptr) {
                *m_error = got.systemError;
            }
            if (got.fault == Transfer::Fault::none) {
                m_arrived += got.count;
                return got.count;
            }
            if (got.fault != Transfer::Fault::noBuffers) {
                return -1;
            }
            netSleep(1);
        }
        return -1;
    }

    int arrived() const { return m_arrived; }

private:
    std::int64_t m_socket;
    std::int32_t* m_error;
    int m_arrived = 0;
};

} // namespace

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

void protocol::discardWaiting(std::int64_t socket) {
    char dropped[kDiscardSize];
    for (int i = 0; i < kMaxDiscards; ++i) {
        if (platform::receiveWithin(socket, dropped, kDiscardSize, 0) < kDiscardSize) {
            return;
        }
    }
}

bool protocol::discardLate(std::int64_t socket, int ms, int quietMs) {
    char dropped[kDiscardSize];
    if (platform::receiveWithin(socket, dropped, kDiscardSize, ms) == 0) {
        return false;
    }
    int pieces = 1;
    while (pieces < kMaxLatePieces &&
           platform::receiveWithin(socket, dropped, kDiscardSize, quietMs) > 0) {
        ++pieces;
    }
    return true;
}

int protocol::readCounting(std::int64_t socket, char* buffer, int max, bool binary, int& arrived) {
    SocketSource source(socket, nullptr);
    const int length = readReply(source, buffer, max, binary);
    arrived = source.arrived();
    return length;
}

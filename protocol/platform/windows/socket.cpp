#include "protocol/platform/platform.h"
#include "protocol/platform/windows/system_headers.h"

#include <algorithm>
#include <cstring>

namespace protocol::platform {
namespace {

constexpr long kSendLimitSeconds = 5;

SOCKET socketOf(std::int64_t socket) {
    return static_cast<SOCKET>(socket);
}

Transfer receiveFault(int error) {
    switch (error) {
    case WSAETIMEDOUT:
        return {0, Transfer::Fault::none, error};
    case WSAENOBUFS:
        return {0, Transfer::Fault::noBuffers, error};
    default:
        return {0, Transfer::Fault::failed, error};
    }
}

// The entry belongs to the calling thread until its next look-up. An empty name would be this
// computer's own.
const hostent* findHost(const char* host) {
    if (host[0] == '\0') {
        return nullptr;
    }
    if (const hostent* const byName = gethostbyname(host)) {
        return byName;
    }
    const unsigned long dotted = inet_addr(host);
    if (dotted == INADDR_NONE) {
        return nullptr;
    }
    char bytes[4];
    std::memcpy(bytes, &dotted, sizeof(bytes));
    return gethostbyaddr(bytes, sizeof(bytes), AF_INET);
}

fd_set setOf(SOCKET socket) {
    fd_set set;
    set.fd_count = 1;
    set.fd_array[0] = socket;
    return set;
}

// 1 when the socket takes bytes, 0 when the time passed, negative on failure.
int waitForRoom(SOCKET socket) {
    fd_set writable = setOf(socket);
    timeval limit = {kSendLimitSeconds, 0};
    return select(0, nullptr, &writable, nullptr, &limit);
}

// The same for bytes to read.
int waitForBytes(SOCKET socket, int ms) {
    fd_set readable = setOf(socket);
    timeval limit = {ms / 1000, ms % 1000 * 1000};
    return select(0, &readable, nullptr, nullptr, &limit);
}

} // namespace

// Starts are counted by the system, and none is given back: the process keeps its sockets.
bool startSockets() {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

// An invalid socket is -1 here too.
std::int64_t createSocket() {
    return static_cast<std::int64_t>(socket(AF_INET, SOCK_STREAM, 0));
}

void closeSocket(std::int64_t socket) {
    closesocket(socketOf(socket));
}

bool setNoDelay(std::int64_t socket) {
    const int on = 1;
    return setsockopt(socketOf(socket), IPPROTO_TCP, TCP_NODELAY,
                      reinterpret_cast<const char*>(&on), sizeof(on)) == 0;
}

bool resolveHost(const char* host, std::uint8_t (&address)[4]) {
    const hostent* const entry = findHost(host);
    if (entry == nullptr || entry->h_length != sizeof(address) ||
        entry->h_addr_list[0] == nullptr) {
        return false;
    }
    std::memcpy(address, entry->h_addr_list[0], sizeof(address));
    return true;
}

// The system's own limit is about 21 s.
bool connectSocket(std::int64_t socket, const std::uint8_t (&address)[4], std::uint16_t port) {
    sockaddr_in peer = {};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(port);
    std::memcpy(&peer.sin_addr, address, sizeof(address));
    return connect(socketOf(socket), reinterpret_cast<const sockaddr*>(&peer), sizeof(peer)) == 0;
}

void setReceiveTimeout(std::int64_t socket, int ms) {
    const DWORD limit = static_cast<DWORD>(ms);
    setsockopt(socketOf(socket), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&limit),
               sizeof(limit));
}

int getReceiveTimeout(std::int64_t socket) {
    DWORD limit = 0;
    int size = sizeof(limit);
    getsockopt(socketOf(socket), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<char*>(&limit), &size);
    return static_cast<int>(limit);
}

Transfer receiveFrom(std::int64_t socket, char* buffer, int max) {
    const int got = recv(socketOf(socket), buffer, max, 0);
    return got >= 0 ? Transfer{got} : receiveFault(WSAGetLastError());
}

Transfer receiveWithin(std::int64_t socket, char* buffer, int max, int ms) {
    const int ready = waitForBytes(socketOf(socket), ms);
    if (ready <= 0) {
        return receiveFault(ready == 0 ? WSAETIMEDOUT : WSAGetLastError());
    }
    return receiveFrom(socket, buffer, max);
}

// Without the wait, a peer that reads nothing would keep the caller for ever.
Transfer sendTo(std::int64_t socket, const char* bytes, int n) {
    const int room = waitForRoom(socketOf(socket));
    if (room == 0) {
        return {};
    }
    const int put = room < 0 ? room : send(socketOf(socket), bytes, n, 0);
    return put >= 0 ? Transfer{put} : Transfer{0, Transfer::Fault::failed, WSAGetLastError()};
}

} // namespace protocol::platform

#include "protocol/platform/platform.h"
#include "protocol/platform/posix/deadline.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace protocol::platform {
namespace {

using std::chrono::milliseconds;

// What an address that does not answer costs on the other systems; left alone, this one would try
// for about two minutes.
constexpr milliseconds kConnectLimit(21000);
constexpr milliseconds kSendLimit(5000);

bool setBlocking(int descriptor, bool blocking) {
    const int flags = fcntl(descriptor, F_GETFL);
    const int wanted = blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK;
    return flags >= 0 && fcntl(descriptor, F_SETFL, wanted) == 0;
}

bool waitConnected(int descriptor) {
    if (!waitUntilReady(descriptor, POLLOUT, Deadline(kConnectLimit))) {
        return false;
    }
    int error = 0;
    socklen_t size = sizeof(error);
    return getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

Transfer receiveFault(int error) {
    switch (error) {
    case EAGAIN:
    case ETIMEDOUT:
        return {0, Transfer::Fault::none, error};
    case ENOBUFS:
        return {0, Transfer::Fault::noBuffers, error};
    default:
        return {0, Transfer::Fault::failed, error};
    }
}

// The way on after a signal: the system would begin its time-out anew each time.
Transfer receiveUntil(int descriptor, char* buffer, int max, const Deadline& deadline) {
    while (true) {
        if (!waitUntilReady(descriptor, POLLIN, deadline)) {
            return receiveFault(errno == 0 ? EAGAIN : errno);
        }
        const ssize_t got = recv(descriptor, buffer, static_cast<std::size_t>(max), MSG_DONTWAIT);
        if (got >= 0) {
            return {static_cast<int>(got)};
        }
        const bool notYet = errno == EINTR || (errno == EAGAIN && deadline.leftMs() > 0);
        if (!notYet) {
            return receiveFault(errno);
        }
    }
}

} // namespace

bool startSockets() {
    return true;
}

std::int64_t createSocket() {
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

void closeSocket(std::int64_t socket) {
    close(static_cast<int>(socket));
}

bool setNoDelay(std::int64_t socket) {
    const int on = 1;
    return setsockopt(static_cast<int>(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)) == 0;
}

bool resolveHost(const char* host, std::uint8_t (&address)[4]) {
    addrinfo wanted = {};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &wanted, &found) != 0) {
        return false;
    }
    sockaddr_in first;
    std::memcpy(&first, found->ai_addr, sizeof(first));
    std::memcpy(address, &first.sin_addr, sizeof(address));
    freeaddrinfo(found);
    return true;
}

bool connectSocket(std::int64_t socket, const std::uint8_t (&address)[4], std::uint16_t port) {
    const int descriptor = static_cast<int>(socket);
    sockaddr_in peer = {};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(port);
    std::memcpy(&peer.sin_addr, address, sizeof(address));
    if (!setBlocking(descriptor, false)) {
        return false;
    }
    const bool connected =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&peer), sizeof(peer)) == 0;
    const bool underWay = !connected && (errno == EINPROGRESS || errno == EINTR);
    return (connected || (underWay && waitConnected(descriptor))) && setBlocking(descriptor, true);
}

void setReceiveTimeout(std::int64_t socket, int ms) {
    timeval limit = {};
    limit.tv_sec = ms / 1000;
    limit.tv_usec = ms % 1000 * 1000;
    setsockopt(static_cast<int>(socket), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
}

int getReceiveTimeout(std::int64_t socket) {
    timeval limit = {};
    socklen_t size = sizeof(limit);
    getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_RCVTIMEO, &limit, &size);
    return static_cast<int>(limit.tv_sec * 1000 + limit.tv_usec / 1000);
}

Transfer receiveFrom(std::int64_t socket, char* buffer, int max) {
    const int descriptor = static_cast<int>(socket);
    const auto begin = std::chrono::steady_clock::now();
    while (true) {
        const ssize_t got = recv(descriptor, buffer, static_cast<std::size_t>(max), 0);
        if (got >= 0) {
            return {static_cast<int>(got)};
        }
        if (errno != EINTR) {
            return receiveFault(errno);
        }
        const milliseconds limit(getReceiveTimeout(socket));
        if (limit.count() > 0) {
            return receiveUntil(descriptor, buffer, max, Deadline(begin + limit));
        }
    }
}

Transfer receiveWithin(std::int64_t socket, char* buffer, int max, int ms) {
    const int descriptor = static_cast<int>(socket);
    if (ms > 0) {
        return receiveUntil(descriptor, buffer, max, Deadline(milliseconds(ms)));
    }
    const ssize_t got = recv(descriptor, buffer, static_cast<std::size_t>(max), MSG_DONTWAIT);
    return got >= 0 ? Transfer{static_cast<int>(got)} : receiveFault(errno);
}

Transfer sendTo(std::int64_t socket, const char* bytes, int n) {
    const int descriptor = static_cast<int>(socket);
    std::optional<Deadline> deadline; // mostly the system takes all at once
    while (true) {
        const ssize_t put =
            send(descriptor, bytes, static_cast<std::size_t>(n), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (put >= 0) {
            return {static_cast<int>(put)};
        }
        if (errno != EAGAIN && errno != EINTR) {
            return {0, Transfer::Fault::failed, errno};
        }
        if (errno == EAGAIN) {
            deadline = deadline.value_or(Deadline(kSendLimit));
            if (!waitUntilReady(descriptor, POLLOUT, *deadline)) {
                return {0, errno == 0 ? Transfer::Fault::none : Transfer::Fault::failed, errno};
            }
        }
    }
}

} // namespace protocol::platform

#include "bench/Peer.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <termios.h>
#include <unistd.h>

namespace bench {
namespace {

int checked(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void setNoDelay(int socket) {
    const int on = 1;
    checked(setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)), "TCP_NODELAY");
}

void setRaw(int terminal) {
    termios settings = {};
    checked(tcgetattr(terminal, &settings), "tcgetattr");
    cfmakeraw(&settings);
    checked(tcsetattr(terminal, TCSANOW, &settings), "tcsetattr");
}

int openNearEnd(const std::string& path) {
    const int terminal = checked(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), "open");
    setRaw(terminal);
    return terminal;
}

} // namespace

Peer::Peer(Line kind, Answer answer) : m_kind(kind), m_answer(std::move(answer)) {
    if (m_kind == Line::Tcp) {
        listen();
        m_thread = std::thread([this] {
            const int client = accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC);
            if (client >= 0) {
                setNoDelay(client);
                serve(client);
                close(client);
            }
        });
    } else {
        openTerminal();
        m_thread = std::thread([this] { serve(m_master); });
    }
}

// The master end reads an error once nobody holds the near end any more.
Peer::~Peer() {
    if (m_kind == Line::Tcp) {
        shutdown(m_descriptor, SHUT_RDWR);
    }
    close(m_descriptor);
    m_thread.join();
    if (m_master >= 0) {
        close(m_master);
    }
}

void Peer::listen() {
    m_descriptor = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof(address);
    checked(bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), size), "bind");
    checked(::listen(m_descriptor, 1), "listen");
    checked(getsockname(m_descriptor, reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
    m_port = ntohs(address.sin_port);
}

void Peer::openTerminal() {
    m_master = checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt");
    checked(grantpt(m_master), "grantpt");
    checked(unlockpt(m_master), "unlockpt");
    char name[128];
    checked(-ptsname_r(m_master, name, sizeof(name)), "ptsname_r");
    m_path = name;
    m_descriptor = openNearEnd(m_path);
}

void Peer::serve(int line) {
    char request[4096];
    std::size_t length = 0;
    while (length < sizeof(request)) {
        const ssize_t got = read(line, request + length, sizeof(request) - length);
        if (got <= 0) {
            return;
        }
        length += static_cast<std::size_t>(got);
        const std::string_view reply = m_answer({request, length});
        if (reply.empty()) {
            continue;
        }
        length = 0;
        if (write(line, reply.data(), reply.size()) != static_cast<ssize_t>(reply.size())) {
            return;
        }
    }
}

int Peer::connect() const {
    if (m_kind == Line::Pty) {
        return openNearEnd(m_path);
    }
    const int client = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    setNoDelay(client);
    const timeval limit = {receiveTimeoutSeconds, 0};
    checked(setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)), "SO_RCVTIMEO");
    const sockaddr_in address = loopback(m_port);
    checked(::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
            "connect");
    return client;
}

} // namespace bench

#include "tests/protocol/ScriptedPeer.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

} // namespace

void ScriptedPeer::listenLocally() {
    m_other = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    require(bind(m_other, generic, sizeof(address)) == 0 && listen(m_other, 4) == 0, "listen");
    socklen_t size = sizeof(address);
    getsockname(m_other, generic, &size);
    m_port = ntohs(address.sin_port);
}

void ScriptedPeer::openTerminal() {
    m_descriptor = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(grantpt(m_descriptor) == 0 && unlockpt(m_descriptor) == 0, "openpt");
    m_path = ptsname(m_descriptor);
    m_other = open(m_path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(m_other >= 0, "open slave");
}

int ScriptedPeer::acceptFrom(int listener) {
    const int accepted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    const int on = 1;
    setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    return accepted;
}

bool ScriptedPeer::isReadable(int descriptor, int ms) {
    pollfd waiting = {descriptor, POLLIN, 0};
    return poll(&waiting, 1, ms) > 0;
}

int ScriptedPeer::receive(int descriptor, char* buffer, int max) {
    return static_cast<int>(read(descriptor, buffer, static_cast<std::size_t>(max)));
}

int ScriptedPeer::transmit(int descriptor, const char* bytes, int n) {
    return static_cast<int>(write(descriptor, bytes, static_cast<std::size_t>(n)));
}

void ScriptedPeer::close(int descriptor) {
    ::close(descriptor);
}

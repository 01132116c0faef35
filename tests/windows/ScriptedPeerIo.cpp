#include "tests/protocol/ScriptedPeer.h"

#include "protocol/platform/platform.h"
#include "protocol/platform/windows/system_headers.h"

#include <stdexcept>

namespace {

SOCKET socketOf(int descriptor) {
    return static_cast<SOCKET>(descriptor);
}

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

} // namespace

void ScriptedPeer::listenLocally() {
    require(protocol::platform::startSockets(), "sockets");
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    require(bind(listener, generic, sizeof(address)) == 0 && listen(listener, 4) == 0, "listen");
    int size = sizeof(address);
    getsockname(listener, generic, &size);
    m_port = ntohs(address.sin_port);
    m_other = static_cast<int>(listener);
}

void ScriptedPeer::openTerminal() {
    throw std::runtime_error("no pseudo-terminals here");
}

int ScriptedPeer::acceptFrom(int listener) {
    const SOCKET accepted = accept(socketOf(listener), nullptr, nullptr);
    const int on = 1;
    setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
    return static_cast<int>(accepted);
}

bool ScriptedPeer::isReadable(int descriptor, int ms) {
    fd_set readable;
    readable.fd_count = 1;
    readable.fd_array[0] = socketOf(descriptor);
    timeval limit = {ms / 1000, ms % 1000 * 1000};
    return select(0, &readable, nullptr, nullptr, &limit) > 0;
}

int ScriptedPeer::receive(int descriptor, char* buffer, int max) {
    return recv(socketOf(descriptor), buffer, max, 0);
}

int ScriptedPeer::transmit(int descriptor, const char* bytes, int n) {
    return ::send(socketOf(descriptor), bytes, n, 0);
}

void ScriptedPeer::close(int descriptor) {
    closesocket(socketOf(descriptor));
}

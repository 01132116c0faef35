#include "tests/protocol/ScriptedPeer.h"

#include "protocol/platform/platform.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kLookMs = 10; // how often the thread looks whether it is to stop

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

} // namespace

ScriptedPeer::ScriptedPeer(Kind kind, Script script) : m_script(std::move(script)) {
    kind == Kind::tcp ? listenLocally() : openTerminal();
    const protocol::platform::SignalBlock noSignals; // they are for the thread under test
    m_thread = std::thread([this] { run(); });
}

ScriptedPeer::~ScriptedPeer() {
    unplug();
}

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

void ScriptedPeer::unplug() {
    m_stops = true;
    if (m_thread.joinable()) {
        m_thread.join();
        close(m_other);
        close(m_descriptor);
    }
}

void ScriptedPeer::setScript(Script script) {
    const std::lock_guard lock(m_mutex);
    m_script = std::move(script);
}

void ScriptedPeer::alwaysAnswer(Answer answer) {
    setScript([answer = std::move(answer)](const std::string&) { return answer; });
}

std::vector<std::string> ScriptedPeer::commands() const {
    const std::lock_guard lock(m_mutex);
    return m_commands;
}

// What cannot be sent is lost: the other side has gone, and tests see that from there.
void ScriptedPeer::send(const std::string& bytes) {
    std::size_t sent = 0;
    ssize_t n = 0;
    while (sent < bytes.size() && n >= 0) {
        n = write(m_descriptor, bytes.data() + sent, bytes.size() - sent);
        sent += n > 0 ? static_cast<std::size_t>(n) : 0;
    }
}

void ScriptedPeer::run() {
    while (!m_stops) {
        const bool isConnected = m_descriptor >= 0;
        pollfd waiting = {isConnected ? m_descriptor.load() : m_other, POLLIN, 0};
        if (poll(&waiting, 1, kLookMs) <= 0) {
            continue;
        }
        if (!isConnected) {
            m_descriptor = accept4(m_other, nullptr, nullptr, SOCK_CLOEXEC);
            const int on = 1;
            setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        } else if (!serve()) {
            close(m_descriptor);
            m_descriptor = -1;
            m_received.clear();
        }
    }
}

// False when the connection is at its end.
bool ScriptedPeer::serve() {
    char chunk[4096];
    const ssize_t n = read(m_descriptor, chunk, sizeof(chunk));
    if (n <= 0) {
        return false;
    }
    m_received.append(chunk, static_cast<std::size_t>(n));
    for (std::size_t end; (end = m_received.find('\r')) != std::string::npos;) {
        const std::string command = m_received.substr(0, end + 1);
        m_received.erase(0, end + 1);
        if (!answer(command)) {
            return false;
        }
    }
    return true;
}

bool ScriptedPeer::answer(const std::string& command) {
    Answer answer;
    {
        const std::lock_guard lock(m_mutex);
        m_commands.push_back(command);
        answer = m_script(command);
    }
    for (const std::string& chunk : answer.chunks) {
        send(chunk);
    }
    return !answer.hangsUp;
}

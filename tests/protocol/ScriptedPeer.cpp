#include "tests/protocol/ScriptedPeer.h"

#include "protocol/platform/platform.h"

namespace {

constexpr int kLookMs = 10; // how often the thread looks whether it is to stop

} // namespace

ScriptedPeer::ScriptedPeer(Kind kind, Script script) : m_script(std::move(script)) {
    kind == Kind::tcp ? listenLocally() : openTerminal();
    const protocol::platform::SignalBlock noSignals; // they are for the thread under test
    m_thread = std::thread([this] { run(); });
}

ScriptedPeer::~ScriptedPeer() {
    unplug();
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

void ScriptedPeer::alwaysAnswer(const std::string& answer) {
    setScript([answer](const std::string&) { return answer; });
}

std::vector<std::string> ScriptedPeer::commands() const {
    const std::lock_guard lock(m_mutex);
    return m_commands;
}

// What cannot be sent is lost: the other side has gone, and tests see that from there.
void ScriptedPeer::send(const std::string& bytes) {
    const int size = static_cast<int>(bytes.size());
    for (int sent = 0, n = 0; sent < size && n >= 0; sent += n) {
        n = transmit(m_descriptor, bytes.data() + sent, size - sent);
    }
}

void ScriptedPeer::run() {
    while (!m_stops) {
        const bool isConnected = m_descriptor >= 0;
        if (!isReadable(isConnected ? m_descriptor.load() : m_other, kLookMs)) {
            continue;
        }
        if (!isConnected) {
            m_descriptor = acceptFrom(m_other);
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
    const int n = receive(m_descriptor, chunk, sizeof(chunk));
    if (n <= 0) {
        return false;
    }
    m_received.append(chunk, static_cast<std::size_t>(n));
    for (std::size_t end; (end = m_received.find('\r')) != std::string::npos;) {
        const std::string command = m_received.substr(0, end + 1);
        m_received.erase(0, end + 1);
        answer(command);
    }
    return true;
}

void ScriptedPeer::answer(const std::string& command) {
    std::string bytes;
    {
        const std::lock_guard lock(m_mutex);
        m_commands.push_back(command);
        bytes = m_script(command);
    }
    send(bytes);
}

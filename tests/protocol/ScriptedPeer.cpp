#include "tests/protocol/ScriptedPeer.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

void writeAll(int descriptor, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = write(descriptor, bytes.data() + sent, bytes.size() - sent);
        if (n < 0) {
            return; // the other side has gone; tests see that from there
        }
        sent += static_cast<std::size_t>(n);
    }
}

} // namespace

ScriptedPeer::ScriptedPeer(Script script) : m_script(std::move(script)) {
    require(pipe(m_stopPipe) == 0, "pipe");
}

ScriptedPeer::~ScriptedPeer() {
    close(m_stopPipe[0]);
    close(m_stopPipe[1]);
}

void ScriptedPeer::start() {
    // The test's signals are for the test's threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    m_thread = std::thread([this] { run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void ScriptedPeer::stop() {
    writeAll(m_stopPipe[1], "x");
    if (m_thread.joinable()) {
        m_thread.join();
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

void ScriptedPeer::send(const std::string& bytes) {
    writeAll(m_descriptor, bytes);
}

bool ScriptedPeer::waitReadable(int descriptor, int stopDescriptor) {
    pollfd waiting[] = {{descriptor, POLLIN, 0}, {stopDescriptor, POLLIN, 0}};
    poll(waiting, 2, -1);
    return waiting[1].revents == 0;
}

void ScriptedPeer::run() {
    while (connect(m_stopPipe[0])) {
        converse();
    }
}

void ScriptedPeer::converse() {
    std::string received;
    while (waitReadable(m_descriptor, m_stopPipe[0])) {
        char chunk[4096];
        const ssize_t n = read(m_descriptor, chunk, sizeof(chunk));
        if (n <= 0) {
            return;
        }
        received.append(chunk, static_cast<std::size_t>(n));
        for (std::size_t end; (end = received.find('\r')) != std::string::npos;) {
            const std::string command = received.substr(0, end + 1);
            received.erase(0, end + 1);
            if (!answer(command)) {
                return;
            }
        }
    }
}

bool ScriptedPeer::answer(const std::string& command) {
    Answer answer;
    {
        const std::lock_guard lock(m_mutex);
        m_commands.push_back(command);
        answer = m_script(command);
    }
    for (const std::string& chunk : answer.chunks) {
        writeAll(m_descriptor, chunk);
        if (answer.chunks.size() > 1) {
            std::this_thread::yield();
        }
    }
    return !answer.hangsUp;
}

TcpPeer::TcpPeer(Script script) : ScriptedPeer(std::move(script)) {
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    require(bind(m_listener, generic, sizeof(address)) == 0, "bind");
    require(listen(m_listener, 4) == 0, "listen");
    socklen_t size = sizeof(address);
    getsockname(m_listener, generic, &size);
    m_port = ntohs(address.sin_port);
    start();
}

TcpPeer::~TcpPeer() {
    stop();
    close(m_listener);
    if (descriptor() >= 0) {
        close(descriptor());
    }
}

bool TcpPeer::connect(int stopDescriptor) {
    if (descriptor() >= 0) {
        close(descriptor());
        setDescriptor(-1);
    }
    if (!waitReadable(m_listener, stopDescriptor)) {
        return false;
    }
    const int accepted = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    const int on = 1;
    setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    setDescriptor(accepted);
    return true;
}

PtyPeer::PtyPeer(Script script) :
    ScriptedPeer(std::move(script)), m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    require(m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0, "openpt");
    m_path = ptsname(m_master);
    m_slave = open(m_path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(m_slave >= 0, "open slave");
    setDescriptor(m_master);
    start();
}

PtyPeer::~PtyPeer() {
    if (m_master >= 0) {
        unplug();
    }
}

void PtyPeer::unplug() {
    stop();
    close(m_slave);
    close(m_master);
    m_master = -1;
}

bool PtyPeer::connect(int stopDescriptor) {
    return waitReadable(m_master, stopDescriptor);
}

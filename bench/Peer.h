#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace bench {

/// What goes back for the bytes received so far; empty while a request is not complete.
using Answer = std::function<std::string_view(std::string_view request)>;

enum class Line { Tcp, Pty };

/// Of a socket; a machine that is busy with other things must not end a benchmark.
inline constexpr int receiveTimeoutSeconds = 5;

/// The far end of a line, on a thread of its own that blocks in read and write: as little as an
/// answering peer can cost. One client; it must have gone before the peer does.
class Peer {
public:
    Peer(Line kind, Answer answer);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    Line kind() const { return m_kind; }
    std::uint16_t port() const { return m_port; }      ///< TCP, on 127.0.0.1
    const std::string& path() const { return m_path; } ///< of the pseudo-terminal
    /// A blocking descriptor, raw or with the socket options of the protocol library: no delay and
    /// a receive time-out. The caller closes it.
    int connect() const;

private:
    void listen();
    void openTerminal();
    void serve(int line);

    const Line m_kind;
    const Answer m_answer;
    int m_descriptor =
        -1; ///< listening socket, or the near end kept open so that clients may change
    int m_master = -1;
    std::uint16_t m_port = 0;
    std::string m_path;
    std::thread m_thread;
};

} // namespace bench

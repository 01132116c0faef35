#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// The other end of a connection, played by a thread: it splits what it receives at carriage
// returns, keeps every command and answers as its script says.
class ScriptedPeer {
public:
    // A TCP server on 127.0.0.1 that takes one connection after another, or the master side of a
    // pseudo-terminal, whose slave side it keeps open. Not every system has the latter.
    enum class Kind { tcp, pty };

    // What to send for a command.
    using Script = std::function<std::string(const std::string& command)>;

    ScriptedPeer(Kind kind, Script script);
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    std::uint16_t port() const { return m_port; }
    const char* path() const { return m_path.c_str(); }
    int master() const { return m_descriptor; }

    // Replaces the script from the next command on.
    void setScript(Script script);
    void alwaysAnswer(const std::string& answer);

    // Every command so far, each with its carriage return.
    std::vector<std::string> commands() const;

    // Sends bytes that answer no command. The connection must be open.
    void send(const std::string& bytes);

    // Waits until a socket or port has something to read; false when the time passed first.
    static bool isReadable(int descriptor, int ms);

    // Closes everything, as when the adapter of a cable is pulled out.
    void unplug();

private:
    void run();
    bool serve();
    void answer(const std::string& command);

    // The system's part, a file of its own for each system. Descriptors are sockets or terminals.
    void listenLocally();
    void openTerminal();
    static int acceptFrom(int listener);
    static int receive(int descriptor, char* buffer, int max);
    static int transmit(int descriptor, const char* bytes, int n); // negative: the peer has gone
    static void close(int descriptor);

    std::atomic<bool> m_stops = false;
    std::atomic<int> m_descriptor = -1; // accepted connection or master side
    int m_other = -1;                   // listener or slave side
    std::uint16_t m_port = 0;
    std::string m_path;
    std::string m_received;
    mutable std::mutex m_mutex; // guards what follows
    Script m_script;
    std::vector<std::string> m_commands;
    std::thread m_thread;
};

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
    // What to do about one command: the chunks to send, one send each, and whether to hang up then.
    struct Answer {
        std::vector<std::string> chunks;
        bool hangsUp = false;

        Answer() = default;
        Answer(std::string whole) : chunks{std::move(whole)} {}
        Answer(const char* whole) : chunks{whole} {}
    };
    using Script = std::function<Answer(const std::string& command)>;

    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    // Replaces the script from the next command on.
    void setScript(Script script);
    void alwaysAnswer(Answer answer);

    // Every command so far, each with its carriage return.
    std::vector<std::string> commands() const;

    // Sends bytes that answer no command. The connection must be open.
    void send(const std::string& bytes);

protected:
    explicit ScriptedPeer(Script script);
    ~ScriptedPeer();

    void start();
    void stop();
    void setDescriptor(int descriptor) { m_descriptor = descriptor; }
    int descriptor() const { return m_descriptor; }

    // Waits for a connection, where there is such a thing.
    virtual bool connect(int stopDescriptor) = 0;

    // False when the peer is to stop.
    static bool waitReadable(int descriptor, int stopDescriptor);

private:
    void run();
    void converse();
    bool answer(const std::string& command);

    Script m_script;
    std::atomic<int> m_descriptor = -1;
    int m_stopPipe[2];
    mutable std::mutex m_mutex;
    std::vector<std::string> m_commands;
    std::thread m_thread;
};

// A TCP server on 127.0.0.1 that takes one connection after another.
class TcpPeer final : public ScriptedPeer {
public:
    explicit TcpPeer(Script script);
    ~TcpPeer();

    std::uint16_t port() const { return m_port; }

private:
    bool connect(int stopDescriptor) override;

    int m_listener;
    std::uint16_t m_port;
};

// The master side of a pseudo-terminal. The slave is kept open, so that its settings can be looked
// at and the master can be read while nobody else has it.
class PtyPeer final : public ScriptedPeer {
public:
    explicit PtyPeer(Script script);
    ~PtyPeer();

    const char* path() const { return m_path.c_str(); }

    int master() const { return m_master; }

    // Closes both sides, as when the cable's adapter is pulled out.
    void unplug();

private:
    bool connect(int stopDescriptor) override;

    int m_master;
    int m_slave;
    std::string m_path;
};

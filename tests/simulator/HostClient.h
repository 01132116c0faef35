#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ndisim {

/// A host's end of a TCP connection or pseudo-terminal, as plain as can be.
class HostClient {
public:
    static HostClient connectTo(unsigned short port);
    static HostClient openTerminal(const std::string& path); ///< as it is: raw, some rate

    HostClient(HostClient&& other) noexcept;
    ~HostClient();

    /// Any rate, and whether RTS/CTS handshake is on. Terminals only.
    void setLine(int baud, bool hasHandshake);

    /// Throws away what is on its way in both directions. Terminals only.
    void flush();

    /// False when the other end is gone.
    bool send(std::string_view bytes);

    /// Sends a command with its CRC and carriage return.
    void sendCommand(std::string_view text);

    /// Reads until the bytes end so, for as long as a hang guard allows, or to the end.
    std::string readUntil(std::string_view end = "\r");

    /// Reads exactly so many bytes, or fewer if the end comes.
    std::string readCount(std::size_t count);

    /// Sends a command and returns the reply's text, its CRC checked.
    std::string ask(std::string_view command);

    /// Whether the other end has hung up; waits for it as long as the hang guard allows.
    bool isHungUp();

private:
    explicit HostClient(int file) : m_file(file) {}
    int m_file;
};

} // namespace ndisim

#pragma once

#include "simulator/Crc.h"
#include "tests/simulator/DeviceHarness.h"

#include <arpa/inet.h>
#include <asm/termbits.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace ndisim {

/// A host's end of a TCP connection or pseudo-terminal, as plain as can be.
class HostClient {
public:
    explicit HostClient(unsigned short port) :
        m_file(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_isOpen =
            ::connect(m_file, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    /// The terminal as it is: raw, some rate.
    explicit HostClient(const std::string& path) :
        m_file(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)), m_isOpen(m_file >= 0) {}
    ~HostClient() { ::close(m_file); }
    HostClient(const HostClient&) = delete;
    HostClient& operator=(const HostClient&) = delete;

    bool isOpen() const { return m_isOpen; }

    /// Any rate, and whether RTS/CTS handshake is on. Terminals only.
    void setLine(int baud, bool hasHandshake) {
        termios2 settings{};
        ASSERT_EQ(::ioctl(m_file, TCGETS2, &settings), 0);
        settings.c_cflag &= ~static_cast<tcflag_t>(CBAUD | CRTSCTS);
        settings.c_cflag |= BOTHER | (hasHandshake ? CRTSCTS : 0U);
        settings.c_ispeed = settings.c_ospeed = static_cast<speed_t>(baud);
        ASSERT_EQ(::ioctl(m_file, TCSETS2, &settings), 0);
    }

    /// Throws away what is on its way in both directions. Terminals only.
    void flush() { ASSERT_EQ(::ioctl(m_file, TCFLSH, TCIOFLUSH), 0); }

    /// So few bytes that the system takes them all at once.
    void send(std::string_view bytes) {
        EXPECT_EQ(::write(m_file, bytes.data(), bytes.size()), std::ssize(bytes));
    }

    /// Sends a command with its CRC and carriage return.
    void sendCommand(std::string_view text) { send(withCrc(text)); }

    /// Reads until the bytes end with a carriage return, or to the end.
    std::string readReply() {
        std::string bytes = readCount(1);
        for (std::string next = bytes; next != "" && next != "\r"; bytes += next) {
            next = readCount(1);
        }
        return bytes;
    }

    /// Reads exactly so many bytes, or fewer if the end comes.
    std::string readCount(std::size_t count) {
        std::string bytes(count, '\0');
        std::size_t filled = 0;
        for (ssize_t got = 1; got > 0 && filled < count; filled += static_cast<std::size_t>(got)) {
            pollfd waiting{m_file, POLLIN, 0};
            const bool isReadable = ::poll(&waiting, 1, 20000) == 1;
            EXPECT_TRUE(isReadable) << "nothing came, not even the end";
            got = isReadable ? ::read(m_file, bytes.data() + filled, count - filled) : 0;
            got = std::max<ssize_t>(got, 0);
        }
        return bytes.substr(0, filled);
    }

    /// Sends a command and returns the reply's text, its CRC checked.
    std::string ask(std::string_view command) {
        sendCommand(command);
        return checkedText(readReply());
    }

private:
    int m_file;
    bool m_isOpen = false;
};

} // namespace ndisim

#include "tests/simulator/HostClient.h"

#include "simulator/Crc.h"
#include "tests/simulator/DeviceHarness.h"

#include <arpa/inet.h>
#include <asm/termbits.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace ndisim {

namespace {

constexpr int guardMs = 30000;

} // namespace

HostClient HostClient::connectTo(unsigned short port) {
    const int file = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int result = ::connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    if (result != 0) {
        ::close(file);
        return HostClient(-1);
    }
    return HostClient(file);
}

HostClient HostClient::openTerminal(const std::string& path) {
    return HostClient(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
}

HostClient::HostClient(HostClient&& other) noexcept : m_file(std::exchange(other.m_file, -1)) {}

HostClient::~HostClient() {
    if (m_file >= 0) {
        ::close(m_file);
    }
}

void HostClient::setLine(int baud, bool hasHandshake) {
    termios2 settings{};
    ASSERT_EQ(::ioctl(m_file, TCGETS2, &settings), 0);
    settings.c_cflag &= ~static_cast<tcflag_t>(CBAUD | CRTSCTS);
    settings.c_cflag |= BOTHER | (hasHandshake ? CRTSCTS : 0U);
    settings.c_ispeed = settings.c_ospeed = static_cast<speed_t>(baud);
    ASSERT_EQ(::ioctl(m_file, TCSETS2, &settings), 0);
}

void HostClient::flush() {
    ASSERT_EQ(::ioctl(m_file, TCFLSH, TCIOFLUSH), 0);
}

bool HostClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        auto count = ::send(m_file, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == ENOTSOCK) {
            count = ::write(m_file, bytes.data(), bytes.size());
        }
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void HostClient::sendCommand(std::string_view text) {
    send(withCrc(text));
}

std::string HostClient::readUntil(std::string_view end) {
    std::string bytes;
    while (bytes.empty() || !bytes.ends_with(end)) {
        const std::string byte = readCount(1);
        if (byte.empty()) {
            break;
        }
        bytes += byte;
    }
    return bytes;
}

std::string HostClient::readCount(std::size_t count) {
    std::string bytes;
    while (bytes.size() < count) {
        pollfd waiting{m_file, POLLIN, 0};
        char buffer[4096];
        const std::size_t wanted = std::min(sizeof buffer, count - bytes.size());
        const auto got = ::poll(&waiting, 1, guardMs) == 1 ? ::read(m_file, buffer, wanted) : 0;
        if (got <= 0) {
            break;
        }
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
    return bytes;
}

std::string HostClient::ask(std::string_view command) {
    sendCommand(command);
    return checkedText(readUntil());
}

bool HostClient::isHungUp() {
    pollfd waiting{m_file, POLLIN, 0};
    char byte = 0;
    return ::poll(&waiting, 1, guardMs) == 1 && ::read(m_file, &byte, 1) <= 0;
}

} // namespace ndisim

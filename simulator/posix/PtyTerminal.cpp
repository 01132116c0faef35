#include "simulator/posix/PtyTerminal.h"

// Rates without a B constant are read as numbers: the kernel's header, which clashes with
// <termios.h>.
#include <asm/termbits.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace ndisim {

namespace {

void check(bool isFine, const char* what) {
    if (!isFine) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void setRaw(int terminal) {
    termios2 settings{};
    check(::ioctl(terminal, TCGETS2, &settings) == 0, "terminal settings");
    settings.c_iflag = 0;
    settings.c_oflag = 0;
    settings.c_lflag = 0;
    settings.c_cflag = B9600 | CS8 | CLOCAL | CREAD;
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    check(::ioctl(terminal, TCSETS2, &settings) == 0, "terminal settings");
}

} // namespace

PtyTerminal::PtyTerminal() {
    m_device = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    check(m_device >= 0, "pseudo-terminal");
    try {
        std::array<char, 256> path{};
        check(::grantpt(m_device) == 0 && ::unlockpt(m_device) == 0, "pseudo-terminal");
        check(::ptsname_r(m_device, path.data(), path.size()) == 0, "pseudo-terminal");
        m_hostPath = path.data();
        m_host = ::open(path.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        check(m_host >= 0, "pseudo-terminal");
        setRaw(m_host);
        int packetMode = 1;
        check(::ioctl(m_device, TIOCPKT, &packetMode) == 0, "packet mode");
        check(::fcntl(m_device, F_SETFL, O_RDWR | O_NONBLOCK) == 0, "pseudo-terminal");
    } catch (...) {
        ::close(m_device);
        ::close(m_host);
        throw;
    }
}

// The device's end first: the host then reads the end of its line.
PtyTerminal::~PtyTerminal() {
    ::close(m_device);
    ::close(m_host);
}

PtyTerminal::HostLine PtyTerminal::hostLine() const {
    termios2 settings{};
    if (::ioctl(m_host, TCGETS2, &settings) != 0) {
        return {};
    }
    return {static_cast<int>(settings.c_ospeed), (settings.c_cflag & CRTSCTS) != 0};
}

void PtyTerminal::discardReceived() {
    std::array<char, 4096> bytes{};
    while (::read(m_device, bytes.data(), bytes.size()) > 0) {
    }
}

} // namespace ndisim

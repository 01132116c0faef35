// Line settings through the kernel's own structure: the C library's knows no 14400 baud, and its
// header cannot be included beside this one.

#include "protocol/platform/platform.h"
#include "protocol/platform/posix/port_timeouts.h"

#include <asm/termbits.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>

namespace protocol::platform {
namespace {

struct SavedState {
    termios2 line;
    PortTimeouts timeouts;
};
static_assert(sizeof(SavedState) <= sizeof(PortState));

bool getLine(std::intptr_t port, termios2& line) {
    return ioctl(static_cast<int>(port), TCGETS2, &line) == 0;
}

// At once: waiting for the output to drain would never end while the device holds CTS low.
bool putLine(std::intptr_t port, const termios2& line) {
    return ioctl(static_cast<int>(port), TCSETS2, &line) == 0;
}

// Pseudo-terminals and some adapters have no modem lines; that is no fault.
void setModemLine(std::intptr_t port, int line, bool on) {
    ioctl(static_cast<int>(port), on ? TIOCMBIS : TIOCMBIC, &line);
}

struct Rate {
    int baud;
    tcflag_t bits;
};

constexpr Rate kRates[] = {{9600, B9600},     {14400, BOTHER},  {19200, B19200},
                           {38400, B38400},   {57600, B57600},  {115200, B115200},
                           {230400, B230400}, {921600, B921600}};

bool setRate(termios2& line, int baud) {
    for (const Rate& rate : kRates) {
        if (rate.baud == baud) {
            line.c_cflag &= ~static_cast<tcflag_t>(CBAUD | CIBAUD);
            line.c_cflag |= rate.bits;
            line.c_ispeed = static_cast<speed_t>(baud);
            line.c_ospeed = static_cast<speed_t>(baud);
            return true;
        }
    }
    return false;
}

void setFormat(termios2& line, const LineFormat& format) {
    line.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS);
    line.c_cflag |= format.dataBits == 7 ? CS7 : CS8;
    if (format.parity != LineFormat::Parity::none) {
        line.c_cflag |= format.parity == LineFormat::Parity::odd ? PARENB | PARODD : PARENB;
    }
    if (format.stopBits == 2) {
        line.c_cflag |= CSTOPB;
    }
    if (format.handshake) {
        line.c_cflag |= CRTSCTS;
    }
}

// A driver may apply a part and report success. Only the rate is telling: pseudo-terminals keep
// eight bits without parity whatever is asked. Clock dividers make it a few percent inexact.
bool hasRate(std::intptr_t port, int baud) {
    termios2 line;
    return getLine(port, line) && std::abs(static_cast<int>(line.c_ospeed) - baud) <= baud / 32;
}

} // namespace

bool captureState(std::intptr_t port, PortState& state) {
    SavedState saved = {};
    if (!getLine(port, saved.line)) {
        return false;
    }
    saved.timeouts = timeoutsOf(port);
    std::memcpy(state.bytes, &saved, sizeof(saved));
    return true;
}

void restoreState(std::intptr_t port, const PortState& state) {
    SavedState saved;
    std::memcpy(&saved, state.bytes, sizeof(saved));
    putLine(port, saved.line);
    storeTimeouts(port, saved.timeouts);
}

bool setRaw(std::intptr_t port) {
    termios2 line;
    if (!getLine(port, line)) {
        return false;
    }
    line.c_iflag = 0;
    line.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    line.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL | ECHOCTL | ECHOPRT |
                                           ECHOKE | ICANON | ISIG | IEXTEN);
    line.c_cflag |= CREAD | CLOCAL;
    // One byte at least: an empty read is then "try again", and 0 means that the line is gone.
    line.c_cc[VMIN] = 1;
    line.c_cc[VTIME] = 0;
    if (!putLine(port, line)) {
        return false;
    }
    setModemLine(port, TIOCM_DTR, true);
    return true;
}

bool setLine(std::intptr_t port, const LineFormat& format) {
    termios2 before;
    if (!getLine(port, before)) {
        return false;
    }
    termios2 line = before;
    setFormat(line, format);
    if (!setRate(line, format.baud) || !putLine(port, line)) {
        return false;
    }
    if (!hasRate(port, format.baud)) {
        putLine(port, before);
        return false;
    }
    // Some drivers leave RTS low when it was low before the handshake came on; without the
    // handshake, low is what tells the device that nobody follows it.
    setModemLine(port, TIOCM_RTS, format.handshake);
    return true;
}

bool dsrPresent(std::intptr_t port) {
    int lines = 0;
    if (ioctl(static_cast<int>(port), TIOCMGET, &lines) == 0) {
        return (lines & TIOCM_DSR) != 0;
    }
    return errno == ENOTTY || errno == EINVAL;
}

} // namespace protocol::platform

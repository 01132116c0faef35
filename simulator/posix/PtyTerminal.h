#pragma once

#include <string>

namespace ndisim {

/// The two ends of a pseudo-terminal, the host's held open so that nothing that the host does to it
/// hangs up the device. The device's end is non-blocking and in packet mode: every read begins with
/// a byte that is 0 before data and tells of flushes otherwise.
class PtyTerminal {
public:
    /// Raw, 9600 baud, no handshake. Throws std::system_error.
    PtyTerminal();
    ~PtyTerminal();
    PtyTerminal(const PtyTerminal&) = delete;
    PtyTerminal& operator=(const PtyTerminal&) = delete;

    int device() const { return m_device; }
    const std::string& hostPath() const { return m_hostPath; }

    /// What the host has set its end to.
    struct HostLine {
        int baud = 0;
        bool hasHandshake = false; ///< RTS/CTS
    };
    HostLine hostLine() const;

    /// Throws away what the host has sent and the device has not read.
    void discardReceived();

private:
    int m_device = -1;
    int m_host = -1;
    std::string m_hostPath;
};

} // namespace ndisim

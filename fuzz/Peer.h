#pragma once

#include "protocol/device.h"

#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace fuzz {

/// The device's end of a real connection, in the thread of the library under test: a piece of an
/// answer arrives whenever the library begins to wait for bytes, and a wait that nothing would end
/// is over at once. Runs are exact and take no time. One peer at a time; the library does not sleep
/// while there is one.
class Peer {
public:
    enum class Kind {
        Tcp,      ///< a connection over the loopback device
        Serial,   ///< a pseudo-terminal
        BarePort, ///< a pseudo-terminal that nobody has opened yet
    };
    enum class End { Silence, HangUp };
    using Answer = std::function<std::string(std::string_view command)>;

    explicit Peer(Kind kind);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// Null for a bare port.
    DeviceRecord* record() const { return m_record; }
    /// The same, which the caller closes from now on, before the peer goes.
    DeviceRecord* handOver();
    const std::string& path() const { return m_path; }

    /// What the next waits get, piece by piece, and what comes then. An empty piece is a wait in
    /// vain.
    void say(std::deque<std::string> pieces, End end = End::Silence);

    /// From now on every command, given without its carriage return, gets this answer in one piece.
    /// At an empty one the device hangs up.
    void answerAll(Answer answer);

    /// Sends at once what has not been waited for.
    void sendLate();

    /// The library is about to wait. False when it waits in vain.
    bool isAboutToWait();

private:
    void openTcp();
    void openTerminal();
    void send(std::string_view bytes);
    void dropCommands() const;
    void hangUp();

    DeviceRecord* m_record = nullptr;
    bool m_closesRecord = true;
    int m_descriptor = -1;
    std::string m_path;
    std::deque<std::string> m_pieces;
    End m_end = End::Silence;
    Answer m_answer;
};

/// A reply as it goes over the line: a text with CRC and carriage return, or a binary body with its
/// header and CRCs.
std::string sealed(std::string_view content, bool isBinary);

} // namespace fuzz

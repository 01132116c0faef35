#pragma once

#include "simulator/Device.h"
#include "simulator/Faults.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace ndisim {

class Station;

/// A TCP server on 127.0.0.1. Port 0 takes a free one.
struct TcpAddress {
    std::uint16_t port = 0;
};

/// A pseudo-terminal; `link` becomes a symbolic link to the end that the host opens.
struct PtyAddress {
    std::filesystem::path link;
};

struct SimulatorOptions {
    DeviceOptions device;
    std::variant<TcpAddress, PtyAddress> address = TcpAddress{};

    std::vector<FaultRule> faults;
    std::uint64_t seed = 1;
    double faultRate = 0;              ///< probability that a command goes wrong at random
    std::vector<FaultKind> faultKinds; ///< in one of these ways; empty: FaultPlan::mildKinds()

    unsigned chunk = 0; ///< answers go out in pieces of so many bytes, 0: whole
    std::chrono::milliseconds chunkGap{1};
    bool isPaced = false; ///< a pseudo-terminal takes as long as a real line of that speed

    std::filesystem::path trace;  ///< file to record the traffic in; empty: none
    std::size_t logLimit = 20000; ///< exchanges kept in memory, the oldest go first
    Clock clock = steadyClock();  ///< moves the device's frames, nothing else
};

/// The simulator could not begin: the port is taken, the link or trace cannot be made. The text is
/// one line that names the port or file.
class StartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One command and what became of it.
struct Exchange {
    std::chrono::nanoseconds time{0}; ///< since the simulator was made
    std::string command;    ///< without CRC and carriage return; "BREAK" for a break on the line
    std::string received;   ///< as it came, without carriage return
    std::string reply;      ///< the device's answer, all of it; empty if it did not execute
    std::string sent;       ///< what was handed to the line, faults included
    std::string fault;      ///< faultText, empty when nothing was to go wrong
    bool hadEffect = false; ///< false also for a fault that found nothing to spoil
    std::optional<Measurement> measurement; ///< what a BX, TX or GX reply was made of
};

/// A measurement system with a connection, on a thread of its own. The device keeps its state while
/// hosts come and go, as a real one does. All members may be called from any thread; start and stop
/// from one at a time.
class Simulator {
public:
    /// Throws std::invalid_argument if an option is out of range.
    explicit Simulator(SimulatorOptions options);
    ~Simulator(); ///< stops

    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    /// Opens the connection and serves it. Throws StartError.
    void start();

    /// Ends the connection (the symbolic link goes too) and the thread; a second call does nothing.
    /// A stopped simulator cannot be started again, but its record stays readable.
    void stop();

    /// What a host connects to: "127.0.0.1:PORT" or the link. Valid after start.
    std::string address() const;
    std::uint16_t port() const; ///< 0 for a pseudo-terminal

    // --- what happened -------------------------------------------------------------------------

    std::vector<Exchange> exchanges() const;

    /// The commands in order, without CRC: the usual assertion of a test.
    std::vector<std::string> commands() const;
    std::size_t commandCount() const; ///< all since start, cleared ones included
    std::size_t faultCount() const;

    /// Bytes from a host whose rate or handshake was not the device's (pseudo-terminal).
    std::size_t ignoredBytes() const;
    void clearLog();

    /// Waits until a command that begins with `prefix` has been answered (or left unanswered) since
    /// the log was last cleared. False after `limit`.
    bool waitForCommand(const std::string& prefix, std::chrono::milliseconds limit) const;

    DeviceState state() const;
    std::uint32_t frameNumber() const;
    LinkSettings link() const;
    bool hasClient() const; ///< TCP: a host is connected; a pseudo-terminal cannot tell: plugged in

    /// Runs a function on the device, between two commands.
    void withDevice(const std::function<void(Device&)>& function);

    // --- what goes wrong -----------------------------------------------------------------------

    void addFault(FaultRule rule);
    void addFault(std::string_view rule); ///< as parseFaultRule reads it
    void clearFaults();                   ///< the background rate too

    /// The device restarts by itself: power-on state, and the banner goes out unasked.
    void resetLink();

    void closeConnection();
    void halfOpen(); ///< the connection goes deaf and dumb; resume() wakes it
    void resume();   ///< what came in the meantime is not answered
    void unplug();   ///< the line or listening port is gone until replug()
    void replug();

private:
    std::unique_ptr<Station> m_station;
};

} // namespace ndisim

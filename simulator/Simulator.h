#pragma once

#include "simulator/Device.h"
#include "simulator/SimulatorOptions.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

class Station;

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

    /// False when a line of the trace could not be written, as on a full disk. True without one.
    bool isTraceComplete() const;

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

#pragma once

#include "simulator/Simulator.h"
#include "simulator/Trace.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace ndisim {

/// What is to happen on the line because of one command.
struct Response {
    Delivery delivery;
    std::optional<LinkSettings> link; ///< to take effect after the bytes have gone
    std::size_t commandBytes = 0;     ///< length of what asked for it
};

/// Between the line and the device: cuts the received bytes into commands, lets the device execute
/// them, adds the faults and keeps the record. Thread-safe.
class Responder {
public:
    explicit Responder(const SimulatorOptions& options);

    /// Takes bytes as they come, up to the end of the first command in them, and removes what it
    /// took. The response to that command, nothing if none has ended.
    std::optional<Response> receive(std::string_view& bytes);

    /// A new connection: forgets the beginning of a command that the last one left behind.
    Response connect();

    /// A break on the line, or (not counted as a command, without faults) the device's own restart.
    Response breakLine();
    Response restart();

    /// True when the last command was an INIT whose answer the host did not get as it should: what
    /// makes a host try a break.
    bool isInitSpoiled() const;

    void note(std::string_view event); ///< a line in the trace
    void noteSent(std::string_view bytes);

    std::vector<Exchange> exchanges() const;
    std::size_t commandCount() const;
    std::size_t faultCount() const;
    void clearLog();
    bool waitForCommand(const std::string& prefix, std::chrono::milliseconds limit) const;

    void addFault(FaultRule rule);
    void clearFaults();
    void withDevice(const std::function<void(Device&)>& function);

private:
    Response respond(const std::string& received);
    Delivery spoil(Exchange& exchange, const std::optional<PlannedFault>& planned);
    void record(Exchange exchange);

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_recorded;
    Device m_device;
    FaultPlan m_faults;
    Trace m_trace;
    std::size_t m_logLimit;
    std::deque<Exchange> m_log;
    std::size_t m_commandCount = 0;
    std::size_t m_faultCount = 0;
    std::string m_partial; ///< of a command whose carriage return has not come yet
    bool m_isInitSpoiled = false;
};

} // namespace ndisim

#pragma once

#include "simulator/Device.h"
#include "simulator/Record.h"
#include "simulator/SimulatorOptions.h"

#include <functional>
#include <mutex>

namespace ndisim {

/// What is to happen on the line because of one command.
struct Response {
    Delivery delivery;
    std::optional<LinkSettings> link; ///< to take effect after the bytes have gone
    std::size_t commandBytes = 0;     ///< length of what asked for it
};

/// Between the line and the device: cuts the received bytes into commands, lets the device execute
/// them, adds the faults and tells the record. Thread-safe.
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

    Record& record() { return m_record; }

    void addFault(FaultRule rule);
    void clearFaults();

    /// Runs a function on the device, between two commands.
    template <typename Function>
    auto withDevice(const Function& function) {
        const std::lock_guard lock(m_mutex);
        return function(m_device);
    }

private:
    Response respond(const std::string& received);
    Response answer(const std::string& command, const std::string& received,
                    const std::function<Outcome()>& execute);
    Delivery spoil(Exchange& exchange, const std::optional<PlannedFault>& planned);

    mutable std::mutex m_mutex;
    Device m_device;
    FaultPlan m_faults;
    Record m_record;
    std::string m_partial; ///< of a command whose carriage return has not come yet
    bool m_isInitSpoiled = false;
};

} // namespace ndisim

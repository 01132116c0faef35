#include "simulator/Responder.h"

#include "simulator/Crc.h"
#include "simulator/Texts.h"

#include <algorithm>
#include <utility>

namespace ndisim {

namespace {

// More than the device takes; the rest of such a command need not be kept.
constexpr std::size_t maxPartial = 4096;

// A command without its CRC; one whose CRC is wrong stays as it is.
std::string commandText(const std::string& received) {
    const bool isChecked = received.find(':') != std::string::npos;
    if (!isChecked || received.size() < 5) {
        return received;
    }
    const std::string content = received.substr(0, received.size() - 4);
    return parseHex(received.substr(received.size() - 4)) == crc16(content) ? content : received;
}

FaultPlan planOf(const SimulatorOptions& options) {
    FaultPlan plan(options.seed);
    for (const auto& rule : options.faults) {
        plan.add(rule);
    }
    plan.setBackground(options.faultRate, options.faultKinds);
    return plan;
}

} // namespace

Responder::Responder(const SimulatorOptions& options) :
    m_device(options.device, options.clock), m_faults(planOf(options)), m_trace(options.trace),
    m_logLimit(options.logLimit) {}

std::optional<Response> Responder::receive(std::string_view& bytes) {
    const std::lock_guard lock(m_mutex);
    const auto end = bytes.find('\r');
    m_partial += bytes.substr(0, std::min(end, maxPartial - m_partial.size()));
    if (end == std::string_view::npos) {
        bytes = {};
        return std::nullopt;
    }
    bytes.remove_prefix(end + 1);
    return respond(std::exchange(m_partial, {}));
}

Response Responder::connect() {
    const std::lock_guard lock(m_mutex);
    m_partial.clear();
    m_trace.event("connected");
    Response response;
    if (const auto planned = m_faults.next("CONNECT")) {
        response.delivery = applyFault(planned->fault, planned->random, {});
        response.delivery.bytes.clear();
        ++m_faultCount;
        m_trace.event("fault " + faultText(planned->fault));
    }
    return response;
}

Response Responder::respond(const std::string& received) {
    Exchange exchange;
    exchange.received = received;
    exchange.command = commandText(received);
    m_trace.received(received + '\r');

    const auto planned = m_faults.next(exchange.command);
    Response response;
    response.commandBytes = received.size() + 1;
    if (!planned || isExecuted(planned->fault.kind)) {
        auto outcome = m_device.execute(received);
        exchange.reply = std::move(outcome.bytes);
        exchange.measurement = std::move(outcome.measurement);
        response.link = outcome.link;
    }
    response.delivery = spoil(exchange, planned);
    m_isInitSpoiled = exchange.command.starts_with("INIT") && exchange.hadEffect;
    record(std::move(exchange));
    return response;
}

Delivery Responder::spoil(Exchange& exchange, const std::optional<PlannedFault>& planned) {
    Delivery delivery;
    if (planned) {
        delivery = applyFault(planned->fault, planned->random, exchange.reply);
        exchange.fault = faultText(planned->fault);
        exchange.hadEffect = delivery.hasEffect;
        ++m_faultCount;
        m_trace.event("fault " + exchange.fault + (delivery.hasEffect ? "" : " without effect"));
    } else {
        delivery.bytes = exchange.reply;
    }
    exchange.sent = delivery.bytes;
    return delivery;
}

Response Responder::breakLine() {
    const std::lock_guard lock(m_mutex);
    m_trace.event("break");
    m_partial.clear();
    m_isInitSpoiled = false;
    Exchange exchange;
    exchange.command = "BREAK";
    const auto planned = m_faults.next(exchange.command);
    Response response;
    if (!planned || isExecuted(planned->fault.kind)) {
        auto outcome = m_device.resetLink();
        exchange.reply = std::move(outcome.bytes);
        response.link = outcome.link;
    }
    response.delivery = spoil(exchange, planned);
    record(std::move(exchange));
    return response;
}

Response Responder::restart() {
    const std::lock_guard lock(m_mutex);
    m_trace.event("restart");
    m_partial.clear();
    m_isInitSpoiled = false;
    const auto outcome = m_device.resetLink();
    Response response;
    response.delivery.bytes = outcome.bytes;
    response.link = outcome.link;
    return response;
}

void Responder::record(Exchange exchange) {
    exchange.time = m_trace.elapsed();
    ++m_commandCount;
    m_log.push_back(std::move(exchange));
    if (m_log.size() > m_logLimit) {
        m_log.pop_front();
    }
    m_recorded.notify_all();
}

bool Responder::isInitSpoiled() const {
    const std::lock_guard lock(m_mutex);
    return m_isInitSpoiled;
}

void Responder::note(std::string_view event) {
    const std::lock_guard lock(m_mutex);
    m_trace.event(event);
}

void Responder::noteSent(std::string_view bytes) {
    const std::lock_guard lock(m_mutex);
    m_trace.sent(bytes);
}

std::vector<Exchange> Responder::exchanges() const {
    const std::lock_guard lock(m_mutex);
    return {m_log.begin(), m_log.end()};
}

std::size_t Responder::commandCount() const {
    const std::lock_guard lock(m_mutex);
    return m_commandCount;
}

std::size_t Responder::faultCount() const {
    const std::lock_guard lock(m_mutex);
    return m_faultCount;
}

void Responder::clearLog() {
    const std::lock_guard lock(m_mutex);
    m_log.clear();
}

bool Responder::waitForCommand(const std::string& prefix, std::chrono::milliseconds limit) const {
    std::unique_lock lock(m_mutex);
    return m_recorded.wait_for(lock, limit, [&] {
        return std::ranges::any_of(
            m_log, [&](const Exchange& exchange) { return exchange.command.starts_with(prefix); });
    });
}

void Responder::addFault(FaultRule rule) {
    const std::lock_guard lock(m_mutex);
    m_faults.add(std::move(rule));
}

void Responder::clearFaults() {
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
}

void Responder::withDevice(const std::function<void(Device&)>& function) {
    const std::lock_guard lock(m_mutex);
    function(m_device);
}

} // namespace ndisim

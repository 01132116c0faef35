#include "simulator/Responder.h"

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
    m_device(options.device, options.clock), m_faults(planOf(options)),
    m_record(options.trace, options.logLimit) {}

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
    m_record.event("connected");
    Response response;
    if (const auto planned = m_faults.next("CONNECT")) {
        response.delivery = applyFault(planned->fault, planned->random, {});
        response.delivery.bytes.clear();
        m_record.fault(faultText(planned->fault), true);
    }
    return response;
}

Response Responder::respond(const std::string& received) {
    m_record.received(received + '\r');
    auto response =
        answer(commandText(received), received, [&] { return m_device.execute(received); });
    response.commandBytes = received.size() + 1;
    m_isInitSpoiled = response.delivery.hasEffect && received.starts_with("INIT");
    return response;
}

Response Responder::answer(const std::string& command, const std::string& received,
                           const std::function<Outcome()>& execute) {
    Exchange exchange;
    exchange.command = command;
    exchange.received = received;
    const auto planned = m_faults.next(command);
    Response response;
    if (!planned || isExecuted(planned->fault.kind)) {
        auto outcome = execute();
        exchange.reply = std::move(outcome.bytes);
        exchange.measurement = std::move(outcome.measurement);
        response.link = outcome.link;
    }
    response.delivery = spoil(exchange, planned);
    m_record.add(std::move(exchange));
    return response;
}

Delivery Responder::spoil(Exchange& exchange, const std::optional<PlannedFault>& planned) {
    Delivery delivery;
    if (planned) {
        delivery = applyFault(planned->fault, planned->random, exchange.reply);
        exchange.fault = faultText(planned->fault);
        m_record.fault(exchange.fault, delivery.hasEffect);
    } else {
        delivery.bytes = exchange.reply;
    }
    exchange.sent = delivery.bytes;
    return delivery;
}

Response Responder::breakLine() {
    const std::lock_guard lock(m_mutex);
    m_record.event("break");
    m_partial.clear();
    m_isInitSpoiled = false;
    return answer("BREAK", {}, [this] { return m_device.resetLink(); });
}

Response Responder::restart() {
    const std::lock_guard lock(m_mutex);
    m_record.event("restart");
    m_partial.clear();
    m_isInitSpoiled = false;
    auto outcome = m_device.resetLink();
    Response response;
    response.delivery.bytes = std::move(outcome.bytes);
    response.link = outcome.link;
    return response;
}

bool Responder::isInitSpoiled() const {
    const std::lock_guard lock(m_mutex);
    return m_isInitSpoiled;
}

void Responder::addFault(FaultRule rule) {
    const std::lock_guard lock(m_mutex);
    m_faults.add(std::move(rule));
}

void Responder::clearFaults() {
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
}

} // namespace ndisim

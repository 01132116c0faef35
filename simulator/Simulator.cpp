#include "simulator/Simulator.h"

#include "simulator/Station.h"

#include <utility>

namespace ndisim {

Simulator::Simulator(SimulatorOptions options) :
    m_station(std::make_unique<Station>(std::move(options))) {}

Simulator::~Simulator() = default;

void Simulator::start() {
    m_station->start();
}
void Simulator::stop() {
    m_station->stop();
}

std::string Simulator::address() const {
    return m_station->line() == nullptr ? std::string() : m_station->line()->address();
}

std::uint16_t Simulator::port() const {
    return m_station->line() == nullptr ? std::uint16_t{0} : m_station->line()->port();
}

std::vector<Exchange> Simulator::exchanges() const {
    return m_station->responder().record().exchanges();
}

std::vector<std::string> Simulator::commands() const {
    std::vector<std::string> texts;
    for (auto& exchange : exchanges()) {
        texts.push_back(std::move(exchange.command));
    }
    return texts;
}

std::size_t Simulator::commandCount() const {
    return m_station->responder().record().commandCount();
}
std::size_t Simulator::faultCount() const {
    return m_station->responder().record().faultCount();
}
std::size_t Simulator::ignoredBytes() const {
    return m_station->ignoredBytes();
}
bool Simulator::isTraceComplete() const {
    return m_station->responder().record().isTraceComplete();
}
void Simulator::clearLog() {
    m_station->responder().record().clear();
}

bool Simulator::waitForCommand(const std::string& prefix, std::chrono::milliseconds limit) const {
    return m_station->responder().record().waitForCommand(prefix, limit);
}

DeviceState Simulator::state() const {
    return m_station->responder().withDevice([](Device& device) { return device.state(); });
}
std::uint32_t Simulator::frameNumber() const {
    return m_station->responder().withDevice([](Device& device) { return device.frameNumber(); });
}
LinkSettings Simulator::link() const {
    return m_station->responder().withDevice([](Device& device) { return device.link(); });
}

bool Simulator::hasClient() const {
    bool isConnected = false;
    m_station->onThread([&] { isConnected = m_station->line()->isConnected(); });
    return isConnected;
}

void Simulator::withDevice(const std::function<void(Device&)>& function) {
    m_station->responder().withDevice(function);
}

void Simulator::addFault(FaultRule rule) {
    m_station->responder().addFault(std::move(rule));
}
void Simulator::addFault(std::string_view rule) {
    addFault(parseFaultRule(rule));
}
void Simulator::clearFaults() {
    m_station->responder().clearFaults();
}

void Simulator::resetLink() {
    m_station->onThread([this] { m_station->restart(); });
}

void Simulator::closeConnection() {
    m_station->onThread([this] { m_station->act(Delivery::Action::Close, std::nullopt); });
}
void Simulator::halfOpen() {
    m_station->onThread([this] { m_station->act(Delivery::Action::HalfOpen, std::nullopt); });
}
void Simulator::resume() {
    m_station->onThread([this] { m_station->resume(); });
}
void Simulator::unplug() {
    m_station->onThread([this] { m_station->act(Delivery::Action::Unplug, std::nullopt); });
}
void Simulator::replug() {
    m_station->onThread([this] { m_station->replug(); });
}

} // namespace ndisim

#include "simulator/Faults.h"

#include "simulator/Device.h"
#include "simulator/Texts.h"

#include <algorithm>

namespace ndisim {

namespace {

constexpr std::uint32_t defaultLateMs = 300;

// Mixes a number thoroughly (SplitMix64's finisher), so that a decision depends on nothing but what
// it is about. The standard distributions differ between libraries.
std::uint64_t mixed(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

bool happens(double probability, std::uint64_t random) {
    return static_cast<double>(random >> 11U) * 0x1p-53 < probability;
}

std::string garbage(const Fault& fault, std::uint64_t random) {
    if (!fault.bytes.empty()) {
        return fault.bytes;
    }
    std::string bytes(fault.value.value_or(1 + random % 16), '\0');
    for (auto& byte : bytes) {
        random = mixed(random);
        byte = static_cast<char>(random & 0xFFU);
    }
    return bytes;
}

void flip(Delivery& delivery, std::size_t byte, unsigned bit) {
    if (byte < delivery.bytes.size()) {
        auto& target = delivery.bytes[byte];
        target = static_cast<char>(static_cast<unsigned char>(target) ^ (1U << bit));
        delivery.hasEffect = true;
    }
}

void flipDrawn(Delivery& delivery, const Fault& fault, std::uint64_t random) {
    const std::size_t size = delivery.bytes.size();
    if (size != 0) {
        flip(delivery, fault.value.value_or(static_cast<std::uint32_t>(random % size)),
             fault.bit.value_or(static_cast<unsigned>(mixed(random) % 8)));
    }
}

// A text reply ends with four digits and a carriage return, a binary one with two bytes.
void spoilCrc(Delivery& delivery) {
    const std::size_t size = delivery.bytes.size();
    if (size >= 2) {
        flip(delivery, delivery.bytes.starts_with("\xC4\xA5") ? size - 1 : size - 2, 0);
    }
}

void cut(Delivery& delivery, const Fault& fault, std::uint64_t random) {
    const std::size_t size = delivery.bytes.size();
    const std::size_t kept =
        fault.value.value_or(static_cast<std::uint32_t>(size == 0 ? 0 : random % size));
    if (kept < size) {
        delivery.bytes.resize(kept);
        delivery.hasEffect = true;
    }
}

void drip(Delivery& delivery, const Fault& fault, std::uint64_t random) {
    const std::size_t size = delivery.bytes.size();
    if (size != 0) {
        delivery.atOnce = std::min<std::size_t>(fault.value.value_or(random % size), size);
        delivery.untilLast = std::chrono::milliseconds(fault.ms.value_or(defaultLateMs));
        delivery.hasEffect = *delivery.atOnce < size;
    }
}

void replace(Delivery& delivery, std::string bytes) {
    delivery.bytes = std::move(bytes);
    delivery.hasEffect = true;
}

void disconnect(Delivery& delivery, const Fault& fault, Delivery::Action action) {
    replace(delivery, {});
    delivery.action = action;
    if (fault.value && action != Delivery::Action::Close) {
        delivery.duration = std::chrono::milliseconds(*fault.value);
    }
}

std::string_view nameOf(std::string_view command) {
    return command.substr(0, command.find_first_of(": "));
}

bool matches(const std::string& pattern, std::string_view command) {
    if (pattern == "*") {
        return command != "CONNECT";
    }
    const bool isName = pattern.find_first_of(": ") == std::string::npos;
    return isName ? nameOf(command) == pattern : command.starts_with(pattern);
}

} // namespace

Delivery applyFault(const Fault& fault, std::uint64_t random, std::string answer) {
    Delivery delivery;
    delivery.bytes = std::move(answer);
    switch (fault.kind) {
    case FaultKind::Drop:
    case FaultKind::NoAnswer:
        replace(delivery, {});
        break;
    case FaultKind::Late:
        delivery.delay = std::chrono::milliseconds(fault.value.value_or(defaultLateMs));
        delivery.hasEffect = true;
        break;
    case FaultKind::Cut:
        cut(delivery, fault, random);
        break;
    case FaultKind::Flip:
        flipDrawn(delivery, fault, random);
        break;
    case FaultKind::BadCrc:
        spoilCrc(delivery);
        break;
    case FaultKind::Error:
        replace(delivery, Device::errorReply(
                              fault.value.value_or(static_cast<std::uint32_t>(1 + random % 0x31))));
        break;
    case FaultKind::GarbageBefore:
        replace(delivery, garbage(fault, random) + delivery.bytes);
        break;
    case FaultKind::GarbageAfter:
        replace(delivery, delivery.bytes + garbage(fault, random));
        break;
    case FaultKind::Reply:
        replace(delivery, withCrc(fault.bytes));
        break;
    case FaultKind::Raw:
        replace(delivery, fault.bytes);
        break;
    case FaultKind::Drip:
        drip(delivery, fault, random);
        break;
    case FaultKind::Close:
        disconnect(delivery, fault, Delivery::Action::Close);
        break;
    case FaultKind::HalfOpen:
        disconnect(delivery, fault, Delivery::Action::HalfOpen);
        break;
    case FaultKind::Unplug:
        disconnect(delivery, fault, Delivery::Action::Unplug);
        break;
    }
    return delivery;
}

bool isExecuted(FaultKind kind) {
    return kind != FaultKind::Drop && kind != FaultKind::Error;
}

void FaultPlan::add(FaultRule rule) {
    m_rules.push_back({std::move(rule), 0, m_added++});
}

void FaultPlan::clear() {
    m_rules.clear();
    m_rate = 0;
}

void FaultPlan::setBackground(double probability, std::vector<FaultKind> kinds) {
    m_rate = probability;
    m_kinds = kinds.empty() ? mildKinds() : std::move(kinds);
}

std::vector<FaultKind> FaultPlan::mildKinds() {
    return {FaultKind::Drop,  FaultKind::NoAnswer,      FaultKind::Late,
            FaultKind::Cut,   FaultKind::Flip,          FaultKind::BadCrc,
            FaultKind::Error, FaultKind::GarbageBefore, FaultKind::GarbageAfter};
}

std::optional<PlannedFault> FaultPlan::next(std::string_view command) {
    auto planned = nextOfRules(command);
    const std::uint64_t random = mixed(m_seed ^ mixed(++m_exchange));
    if (!planned && command != "CONNECT" && happens(m_rate, random)) {
        Fault fault;
        fault.kind = m_kinds[mixed(random) % m_kinds.size()];
        planned = PlannedFault{fault, mixed(random + 1)};
    }
    return planned;
}

// Every rule counts what matches it, whichever is chosen.
std::optional<PlannedFault> FaultPlan::nextOfRules(std::string_view command) {
    std::optional<PlannedFault> planned;
    for (auto& counted : m_rules) {
        const auto& rule = counted.rule;
        if (!matches(rule.command, command)) {
            continue;
        }
        const unsigned occurrence = ++counted.matched;
        const std::uint64_t random =
            mixed(m_seed ^ mixed((counted.number + 1) << 32U ^ occurrence));
        const bool isDue = occurrence >= rule.first && occurrence <= rule.last;
        if (!planned && isDue && happens(rule.probability, random)) {
            planned = PlannedFault{rule.fault, mixed(random)};
        }
    }
    return planned;
}

} // namespace ndisim

#include "simulator/Faults.h"
#include "simulator/Texts.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace ndisim {

namespace {

enum class ValueForm { None, Number, ByteAndBit, ByteAndTime, Code, NumberOrBytes, Text, Bytes };

struct KindName {
    std::string_view name;
    FaultKind kind;
    ValueForm form;
};

constexpr std::array<KindName, 15> kinds{{
    {"drop", FaultKind::Drop, ValueForm::None},
    {"no-answer", FaultKind::NoAnswer, ValueForm::None},
    {"late", FaultKind::Late, ValueForm::Number},
    {"cut", FaultKind::Cut, ValueForm::Number},
    {"flip", FaultKind::Flip, ValueForm::ByteAndBit},
    {"crc", FaultKind::BadCrc, ValueForm::None},
    {"error", FaultKind::Error, ValueForm::Code},
    {"garbage-before", FaultKind::GarbageBefore, ValueForm::NumberOrBytes},
    {"garbage-after", FaultKind::GarbageAfter, ValueForm::NumberOrBytes},
    {"reply", FaultKind::Reply, ValueForm::Text},
    {"raw", FaultKind::Raw, ValueForm::Bytes},
    {"drip", FaultKind::Drip, ValueForm::ByteAndTime},
    {"close", FaultKind::Close, ValueForm::None},
    {"half-open", FaultKind::HalfOpen, ValueForm::Number},
    {"unplug", FaultKind::Unplug, ValueForm::Number},
}};

const KindName& named(FaultKind kind) {
    return *std::ranges::find(kinds, kind, &KindName::kind);
}

const KindName& kindNamed(std::string_view name, const std::string& context) {
    const auto known = std::ranges::find(kinds, name, &KindName::name);
    if (known == kinds.end()) {
        throw std::invalid_argument(context + "'" + std::string(name) + "' is none of " +
                                    faultKindNames());
    }
    return *known;
}

[[noreturn]] void refuse(std::string_view whole, const std::string& why) {
    throw std::invalid_argument("fault '" + std::string(whole) + "': " + why);
}

std::uint32_t number(std::string_view text, std::string_view whole) {
    const auto value = parseDecimal(text);
    if (!value) {
        refuse(whole, "'" + std::string(text) + "' is no number");
    }
    return *value;
}

std::string bytesOf(std::string_view text, std::string_view whole) {
    auto bytes = parseHexBytes(text);
    if (!bytes) {
        refuse(whole, "'" + std::string(text) + "' is not pairs of hexadecimal digits");
    }
    return *std::move(bytes);
}

// BYTE or BYTE.DETAIL
void readByteAnd(std::optional<unsigned>& detail, Fault& fault, std::string_view text,
                 std::string_view whole) {
    const auto dot = text.find('.');
    fault.value = number(text.substr(0, dot), whole);
    if (dot != std::string_view::npos) {
        detail = number(text.substr(dot + 1), whole);
    }
    if (fault.bit > 7U) {
        refuse(whole, "a bit is from 0 to 7");
    }
}

void readCode(Fault& fault, std::string_view text, std::string_view whole) {
    fault.value = parseHex(text);
    if (text.size() > 2 || !fault.value) {
        refuse(whole, "a device error code has two hexadecimal digits");
    }
}

// Bytes are marked by a leading 'x', so that they are not taken for a count.
void readNumberOrBytes(Fault& fault, std::string_view text, std::string_view whole) {
    if (text.starts_with('x')) {
        fault.bytes = bytesOf(text.substr(1), whole);
    } else {
        fault.value = number(text, whole);
    }
    if (fault.value > 4096U) {
        refuse(whole, "at most 4096 random bytes");
    }
}

void readValue(Fault& fault, ValueForm form, std::string_view text, std::string_view whole) {
    switch (form) {
    case ValueForm::None:
        refuse(whole, "this kind takes no value");
    case ValueForm::Number:
        fault.value = number(text, whole);
        break;
    case ValueForm::ByteAndBit:
        readByteAnd(fault.bit, fault, text, whole);
        break;
    case ValueForm::ByteAndTime:
        readByteAnd(fault.ms, fault, text, whole);
        break;
    case ValueForm::Code:
        readCode(fault, text, whole);
        break;
    case ValueForm::NumberOrBytes:
        readNumberOrBytes(fault, text, whole);
        break;
    case ValueForm::Text:
        fault.bytes = text;
        break;
    case ValueForm::Bytes:
        fault.bytes = bytesOf(text, whole);
        break;
    }
}

// N, N-M or N-
void readOccurrence(FaultRule& rule, std::string_view text, std::string_view whole) {
    const auto dash = text.find('-');
    rule.first = number(text.substr(0, dash), whole);
    if (dash == std::string_view::npos) {
        rule.last = rule.first;
    } else if (dash + 1 < text.size()) {
        rule.last = number(text.substr(dash + 1), whole);
    }
    if (rule.first < 1 || rule.last < rule.first) {
        refuse(whole, "occurrences count from 1 and are given as N, N-M or N-");
    }
}

void readProbability(FaultRule& rule, std::string_view text, std::string_view whole) {
    const auto probability = parseNumber(text);
    if (!probability || *probability < 0 || *probability > 1) {
        refuse(whole, "a probability is from 0 to 1");
    }
    rule.probability = *probability;
}

// Cuts off what follows the last such mark; without it, nothing.
std::optional<std::string_view> cutTail(std::string_view& text, char mark) {
    const auto at = text.rfind(mark);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    const auto tail = text.substr(at + 1);
    text = text.substr(0, at);
    return tail;
}

void readKind(FaultRule& rule, std::string_view text, std::string_view whole) {
    const auto equals = text.find('=');
    const auto& kind = kindNamed(text.substr(0, equals), "fault '" + std::string(whole) + "': ");
    rule.fault.kind = kind.kind;
    if (equals != std::string_view::npos) {
        readValue(rule.fault, kind.form, text.substr(equals + 1), whole);
    } else if (kind.form == ValueForm::Text || kind.form == ValueForm::Bytes) {
        refuse(whole, "this kind needs a value");
    }
}

} // namespace

FaultRule parseFaultRule(std::string_view text) {
    FaultRule rule;
    std::string_view rest = text;
    if (const auto probability = cutTail(rest, '~')) {
        readProbability(rule, *probability, text);
    }
    if (const auto occurrence = cutTail(rest, '#')) {
        readOccurrence(rule, *occurrence, text);
    }
    if (const auto command = cutTail(rest, '@')) {
        if (command->empty()) {
            refuse(text, "no command after '@'");
        }
        rule.command = *command;
    }
    readKind(rule, rest, text);
    return rule;
}

std::string faultText(const Fault& fault) {
    const auto& kind = named(fault.kind);
    std::string text(kind.name);
    if (kind.form == ValueForm::Text) {
        return text + "=" + fault.bytes;
    }
    if (kind.form == ValueForm::Bytes) {
        return text + "=" + hexBytes(fault.bytes);
    }
    if (!fault.bytes.empty()) {
        return text + "=x" + hexBytes(fault.bytes);
    }
    if (fault.value) {
        text += "=" + (kind.form == ValueForm::Code ? hexText(*fault.value, 2)
                                                    : std::to_string(*fault.value));
    }
    const auto& detail = fault.bit ? fault.bit : fault.ms;
    return detail ? text + "." + std::to_string(*detail) : text;
}

std::string faultKindNames() {
    return namesOf(kinds);
}

FaultKind parseFaultKind(std::string_view name) {
    return kindNamed(name, "fault kind ").kind;
}

} // namespace ndisim

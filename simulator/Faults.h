#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ndisim {

/// What can go wrong with one exchange.
enum class FaultKind {
    Drop,          ///< the command is lost on its way: not executed, not answered
    NoAnswer,      ///< executed, but the answer is lost
    Late,          ///< the answer (and every later one) waits for `value` milliseconds
    Cut,           ///< only the first `value` bytes of the answer are sent
    Flip,          ///< bit `bit` of byte `value` of the answer is inverted
    BadCrc,        ///< the answer's CRC does not fit: the bit of its last CRC byte is inverted
    Error,         ///< not executed; answered with device error code `value`
    GarbageBefore, ///< `value` random bytes, or `bytes`, before the answer
    GarbageAfter,  ///< `value` random bytes, or `bytes`, after the answer
    Reply,         ///< the text `bytes` with a good CRC and carriage return instead of the answer
    Raw,           ///< exactly `bytes` instead of the answer
    Drip,          ///< `value` bytes of the answer at once, the rest in halves up to `ms` later
    Close,         ///< no answer; the connection is closed, and the next one is served
    HalfOpen,      ///< no answer; nothing is read or sent any more, for `value` ms or until resumed
    Unplug         ///< no answer; the line is gone, for `value` ms or until plugged in again
};

struct Fault {
    FaultKind kind = FaultKind::NoAnswer;

    /// Byte, milliseconds, code or count. Without one: a byte, a count (1 to 16) and an error code
    /// are drawn from the seed, Late and Drip take 300 ms, HalfOpen and Unplug have no end.
    std::optional<std::uint32_t> value;
    std::optional<unsigned> bit; ///< 0 to 7; drawn from the seed when missing
    std::string bytes;
    std::optional<unsigned> ms = std::nullopt; ///< of Drip
};

/// A fault and the exchanges it befalls. Counting is the rule's own: among the commands that match
/// it, those from `first` to `last` (counted from 1), each with probability `probability`.
struct FaultRule {
    Fault fault;

    /// A command name ("BX"), the beginning of a command ("PVWR:0A0040"), or "*". Two events that
    /// are no commands can be named as well: "BREAK" (its answer is the reset banner) and
    /// "CONNECT" (TCP only; it has no answer, so only Close, HalfOpen and Unplug do something).
    /// "*" stands for all commands and for BREAK.
    std::string command = "*";
    unsigned first = 1;
    unsigned last = std::numeric_limits<unsigned>::max();
    double probability = 1;
};

/// Reads KIND[=VALUE][@COMMAND][#N|#N-M|#N-][~P]:
///
///     no-answer@INIT          the answer to every INIT is lost
///     late=300@BX#5           the fifth BX is answered 300 ms late
///     flip=7.3@TX#2-          from the second TX on, bit 3 of byte 7 is inverted
///     error=0D@PINIT          PINIT is answered with ERROR0D
///     garbage-before=5~0.01   five random bytes before one answer in a hundred
///     reply=0@SFLIST:03       the text "0" with a good CRC
///     raw=C4A5FFFF@BX         exactly these bytes, in hexadecimal
///     garbage-after=x0D0A     exactly these bytes after every answer
///
/// Throws std::invalid_argument with a line that says what is wrong.
FaultRule parseFaultRule(std::string_view text);

/// The inverse of parseFaultRule.
std::string faultText(const Fault& fault);

/// "drop, no-answer, …", for help texts.
std::string faultKindNames();

/// The kind of a name. Throws std::invalid_argument.
FaultKind parseFaultKind(std::string_view name);

/// What a fault makes of an answer.
struct Delivery {
    std::string bytes;
    std::chrono::milliseconds delay{0};
    std::optional<std::size_t> atOnce;      ///< bytes; the rest comes in halves
    std::chrono::milliseconds untilLast{0}; ///< from these bytes to the last half
    enum class Action { None, Close, HalfOpen, Unplug } action = Action::None;
    std::optional<std::chrono::milliseconds> duration; ///< of HalfOpen and Unplug
    bool hasEffect = false; ///< false: the fault found nothing to spoil (a cut behind the end)
};

/// Whether the device still executes a command that this happens to.
bool isExecuted(FaultKind kind);

/// `random` decides what the fault leaves open; the same number gives the same delivery.
Delivery applyFault(const Fault& fault, std::uint64_t random, std::string answer);

/// A fault that was chosen for an exchange.
struct PlannedFault {
    Fault fault;
    std::uint64_t random = 0;
};

/// Decides which exchanges go wrong. The same rules, seed and sequence of commands give the same
/// faults. The first rule that applies wins; the background rate comes after the rules.
class FaultPlan {
public:
    explicit FaultPlan(std::uint64_t seed) : m_seed(seed) {}

    void add(FaultRule rule);
    void clear();

    /// Lets every command go wrong with a probability, in one of these ways.
    void setBackground(double probability, std::vector<FaultKind> kinds);

    /// The kinds a background rate takes when nothing else is said: those after which a connection
    /// can go on.
    static std::vector<FaultKind> mildKinds();

    /// Counts the command and says what is to go wrong with it.
    std::optional<PlannedFault> next(std::string_view command);

private:
    struct CountedRule {
        FaultRule rule;
        unsigned matched = 0;
        std::uint64_t number = 0; ///< of the rule, in the order of adding
    };
    std::optional<PlannedFault> nextOfRules(std::string_view command);

    std::uint64_t m_seed;
    std::uint64_t m_exchange = 0;
    std::uint64_t m_added = 0;
    std::vector<CountedRule> m_rules;
    double m_rate = 0;
    std::vector<FaultKind> m_kinds;
};

} // namespace ndisim

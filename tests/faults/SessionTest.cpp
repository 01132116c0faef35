// Every fault at every command of a session: opening, setting up tools, tracking, closing.
#include "protocol/device.h"
#include "tests/faults/FaultRig.h"

#include <map>
#include <set>
#include <tuple>

namespace Morvalin {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::Not;

struct FaultRow {
    const char* name;
    const char* rule;    ///< %: the middle of the answer
    std::set<int> codes; ///< the first that is logged; 0: perhaps none
    bool isLasting;      ///< the connection is lost
};

constexpr int crc = 0x100;
constexpr int timeout = 0x400;
constexpr int notWritten = 0x500;
constexpr int notRead = 0x600;

const FaultRow faultRows[] = {
    {"NoAnswer", "no-answer", {timeout}, false},
    {"Dropped", "drop", {timeout}, false},
    {"Late", "late=600", {timeout}, false},
    {"CutInTheMiddle", "cut=%", {timeout}, false},
    {"FlippedInTheMiddle", "flip=%.4", {crc}, false},
    {"DeviceError", "error=0D", {0x0D}, false},
    {"GarbageBefore", "garbage-before=7", {crc, timeout}, false},
    {"GarbageAfter", "garbage-after=7", {0, crc, timeout}, false},
    {"Closed", "close", {timeout, notWritten, notRead}, true},
    {"HalfOpen", "half-open", {timeout}, true},
    {"Unplugged", "unplug", {timeout, notWritten, notRead}, true},
};

std::ostream& operator<<(std::ostream& out, const FaultRow& row) {
    return out << row.name;
}

/// The commands of a session and how long their answers are, from two sessions without a fault: the
/// second has handles of the first to free.
template <int N>
std::map<std::string, std::size_t> answersOf(FaultRig<N>& rig) {
    std::map<std::string, std::size_t> answers;
    for (const bool isBinary : {false, true}) {
        const auto session = rig.healthySession(isBinary);
        for (auto exchange = session.rbegin(); exchange != session.rend(); ++exchange)
            answers[keyOf(exchange->command)] = exchange->reply.size(); // the first one's stays
    }
    for (const char* probed : {"GETINFO", "COMM:0", "CONNECT"})
        answers.erase(probed); // the probe's are a matrix of their own
    if (N != Vega)
        answers["COMM:0"] = answers["COMM:5"];
    return answers;
}

/// Network faults that need no command: the connection is lost while nothing is said.
const char* const closing = "close";

template <int N>
struct Cell {
    FaultRig<N>& rig;
    const FaultRow& fault;
    const std::string& command;
    std::size_t answerLength;
    std::size_t faultsBefore = rig.simulator.faultCount();

    bool isMeasurement() const { return command == "BX" || command == "TX"; }

    void arm() {
        std::string rule = fault.rule;
        if (const auto place = rule.find('%'); place != std::string::npos)
            rule.replace(place, 1, std::to_string(answerLength / 2));
        // A serial family's probe sends INIT too; the third measurement follows two frames.
        const char* const which = isMeasurement()                  ? "#3"
                                  : command == "INIT" && N != Vega ? "#2"
                                                                   : "#1";
        rig.simulator.addFault(rule + "@" + command + which);
    }

    void loseConnection() {
        const std::string_view kind = fault.rule;
        kind == "close"    ? rig.simulator.closeConnection()
        : kind == "unplug" ? rig.simulator.unplug()
                           : rig.simulator.halfOpen();
    }

    void stream() {
        EXPECT_TRUE(rig.stream.start());
        if (isMeasurement())
            rig.nextFrameUntil([&] { return wasHit(); });
        const bool isTracking = isMeasurement() ? !fault.isLasting : !wasHit();
        const int before = rig.frames;
        rig.nextFrameUntil([&] { return rig.frames > before + 1; }, isTracking ? hangGuard : 50ms);
        EXPECT_TRUE(rig.stream.stop());
    }

    bool wasHit() const { return rig.simulator.faultCount() > faultsBefore; }

    /// Whether the stream could be opened.
    bool run() {
        rig.simulator.clearFaults();
        rig.stream.setBinaryQueryMode(command != "TX");
        command == closing ? void() : arm();
        const bool isOpen = rig.stream.open();
        const Lines opening = rig.log.take(4);
        if (N != Aurora || opening.empty()) {
            EXPECT_TRUE(isOpen);
        }
        if (isOpen)
            stream();
        if (command == closing)
            loseConnection();
        EXPECT_TRUE(rig.stream.close());
        EXPECT_EQ(rig.stream.state(), Stream::Closed);
        Lines lines = rig.log.take(4);
        lines.insert(lines.begin(), opening.begin(), opening.end());
        if (command != closing) {
            EXPECT_TRUE(wasHit());
            checkLog(lines);
        }
        return isOpen;
    }

    void checkLog(const Lines& lines) {
        if (lines.empty()) {
            EXPECT_TRUE(fault.codes.contains(0)) << "nothing was logged";
            return;
        }
        const std::string beginning = "[4] NDI Tracking System Error: ";
        ASSERT_TRUE(lines[0].starts_with(beginning)) << lines[0];
        const int code = std::stoi(lines[0].substr(beginning.size()));
        EXPECT_TRUE(fault.codes.contains(code)) << lines[0];
        EXPECT_EQ(lines[0], beginning + std::to_string(code) + " " + deviceErrorText(code));
        // A line only drops what is there before the next command.
        const bool isLateOnLine = N != Vega && fault.rule == std::string("late=600");
        if (!fault.isLasting && isMeasurement() && !isLateOnLine) {
            EXPECT_EQ(lines.size(), 1U) << lines[1];
        }
    }
};

template <int N>
void runRow(const FaultRow& fault) {
    FaultRig<N> rig;
    auto commands = answersOf(rig);
    for (const char* name :
         {"INIT", "SFLIST", "PHSR", "PINIT", "PENA", "TSTART", "BX", "TX", "TSTOP"})
        EXPECT_TRUE(commands.contains(name)) << name;
    EXPECT_EQ(commands.contains("COMM:5"), N != Vega);
    EXPECT_EQ(commands.contains("PHF") && commands.contains("PHRQ") && commands.contains("PVWR"),
              N != Aurora);
    EXPECT_EQ(commands.contains("PHINF"), N == Aurora);
    if (fault.isLasting)
        commands[closing] = 0;
    EXPECT_TRUE(eventually([&] { return N != Vega || !rig.simulator.hasClient(); }));
    const Resources before;
    for (const auto& [command, length] : commands) {
        SCOPED_TRACE(command);
        const auto begin = std::chrono::steady_clock::now();
        const bool wasOpen = Cell<N>{rig, fault, command, length}.run();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, hangGuard);
        rig.simulator.clearFaults();
        rig.simulator.replug();
        rig.simulator.resume();
        if (!wasOpen)
            rig.stream.open(); // lets go of what the failed one has left
        rig.healthySession();
        EXPECT_TRUE(eventually([&] { return Resources() == before; }))
            << "descriptors " << before.descriptors << " -> " << Resources().descriptors
            << ", threads " << before.threads << " -> " << Resources().threads;
        if (testing::Test::HasFailure())
            return;
    }
}

/// The device falls silent in the middle: 5 s for INIT over the network, 5 s a command on a line.
template <int N>
void fallSilentAt(const char* command) {
    FaultRig<N> rig(FaultRig<N>::Timeouts::Real);
    rig.healthySession();
    rig.simulator.addFault(std::string("half-open@") + command);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(rig.stream.open() && rig.stream.start() && rig.stream.close());
    const auto end = std::chrono::steady_clock::now();
    EXPECT_GT(end - begin, 4900ms);
    EXPECT_LT(end - begin, hangGuard);
    rig.simulator.clearFaults();
    rig.simulator.resume();
    rig.log.take();
    rig.healthySession();
}

TEST(Faults, NetworkTakesAsLongAsItsTimeouts) {
    fallSilentAt<Vega>("INIT");
}
TEST(Faults, LineTakesAsLongAsItsTimeouts) {
    fallSilentAt<Vicra>("TSTOP");
}

class FaultySession : public testing::TestWithParam<std::tuple<int, FaultRow>> {};

TEST_P(FaultySession, IsReportedAndTheNextOneWorks) {
    const auto& [number, fault] = GetParam();
    forFamily(number, [&]<int N>() { runRow<N>(fault); });
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultySession,
                         testing::Combine(testing::Values(Vicra, Vega, Aurora),
                                          testing::ValuesIn(faultRows)),
                         [](const auto& cell) {
                             return familyName(std::get<0>(cell.param)) +
                                    std::get<1>(cell.param).name;
                         });

} // namespace
} // namespace Morvalin

// Every fault at every command of a session: looking for the device, opening, setting up tools,
// tracking, closing.
#include "protocol/device.h"
#include "tests/faults/FaultRig.h"

#include <map>
#include <set>
#include <tuple>

namespace Morvalin {
namespace {

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
    {"Late", "late=900", {timeout}, false},
    {"CutInTheMiddle", "cut=%", {timeout}, false},
    {"CutInTheHeader", "cut=5", {timeout}, false},
    {"FlippedInTheMiddle", "flip=%.4", {crc}, false},
    {"FlippedInTheHeader", "flip=3.0", {crc, timeout}, false}, // the length of a binary one
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
    answers.erase("CONNECT");
    if (N != Vega) {
        answers["COMM:0"] = answers["COMM:5"];
        answers["BREAK"] = 10;
    }
    return answers;
}

constexpr auto patience = 400ms;

/// No command: the connection is lost while nothing is said.
const char* const closing = "close";

template <int N>
struct Cell {
    FaultRig<N>& rig;
    const FaultRow& fault;
    const std::string& command;
    std::size_t answerLength;
    std::size_t faultsBefore = rig.simulator.faultCount();

    bool isMeasurement() const { return command == "BX" || command == "TX"; }
    bool isProbe() const { return command == "GETINFO" || command == "BREAK"; }

    /// A line only drops what is there before the next command. What comes later than that is taken
    /// for the next answer: time-outs on a line are longer than any answer takes.
    bool isLateOnLine() const { return N != Vega && fault.rule == std::string("late=900"); }

    /// A serial family's probe sends INIT too; the third measurement follows two frames, and what
    /// is left of the first tool's set-up must not be taken for the second one's.
    const char* which() const {
        if (isMeasurement())
            return "#3";
        const bool isSecond = command == "PHRQ" || command == "PINIT" || command == "PENA";
        return isSecond || (command == "INIT" && N != Vega) ? "#2" : "#1";
    }

    void arm() {
        std::string rule = fault.rule;
        if (const auto place = rule.find('%'); place != std::string::npos)
            rule.replace(place, 1, std::to_string(answerLength / 2));
        if (command == "BREAK") // which comes when there is no answer to INIT
            rig.simulator.addFault("no-answer@INIT#1");
        rig.simulator.addFault(rule + "@" + command + which());
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
        rig.streamOn(2, isTracking ? hangGuard : 100ms);
        if (fault.isLasting && wasHit()) {
            EXPECT_EQ(rig.frames, before) << "frames without a link";
        }
        EXPECT_TRUE(rig.stream.stop());
    }

    bool wasHit() const { return rig.simulator.faultCount() > faultsBefore; }

    /// Whether the stream could be opened.
    bool run() {
        rig.simulator.clearFaults();
        rig.stream.setBinaryQueryMode(command != "TX");
        rig.setPatience(patience);
        command == closing ? void() : arm();
        const bool isOpen = rig.stream.open();
        const Lines opening = rig.log.take(4);
        const bool mayFail = command == "CONNECT" || isProbe() || (N == Aurora && !opening.empty());
        if (!mayFail) {
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
            isProbe() ? checkProbe(isOpen, lines) : checkLog(lines);
        }
        const std::string wrong = rig.takeWrong();
        EXPECT_TRUE(wrong.empty() || isLateOnLine()) << wrong;
        return isOpen;
    }

    /// What the probe itself says of each fault is tested without waiting.
    void checkProbe(bool isOpen, const Lines& lines) {
        EXPECT_TRUE(!isOpen || !fault.isLasting);
        EXPECT_EQ(lines, isOpen ? Lines{} : Lines{"[4] Failed to probe device!"});
    }

    void checkLog(const Lines& lines) {
        if (lines.empty()) {
            EXPECT_TRUE(fault.codes.contains(0)) << "nothing was logged";
            return;
        }
        if (command == "CONNECT" && lines == Lines{"[4] Connection could not be established!"})
            return;
        const std::string beginning = "[4] NDI Tracking System Error: ";
        ASSERT_TRUE(lines[0].starts_with(beginning)) << lines[0];
        const int code = std::stoi(lines[0].substr(beginning.size()));
        EXPECT_TRUE(fault.codes.contains(code)) << lines[0];
        EXPECT_EQ(lines[0], beginning + std::to_string(code) + " " + deviceErrorText(code));
        if (fault.isLasting || !isMeasurement() || isLateOnLine())
            return;
        // Over a network nothing is sent until the missing answer has come or is given up.
        const std::string unsent = beginning + "1024 " + deviceErrorText(timeout);
        EXPECT_THAT(Lines(lines.begin() + 1, lines.end()),
                    testing::Conditional(N == Vega, testing::Each(unsent), testing::IsEmpty()));
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
    EXPECT_EQ(commands.contains("PHINF:0B0025"), N == Aurora);
    if (fault.isLasting)
        commands[closing] = 0;
    if (fault.isLasting && N == Vega)
        commands["CONNECT"] = 0;
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

/// Answers that come later than the 100 ms that the stream has for them: one, or all of a kind.
class LateAnswers : public testing::TestWithParam<std::tuple<std::string, int, std::string>> {};

TEST_P(LateAnswers, AreNotTakenForOthers) {
    const auto& [kind, ms, where] = GetParam();
    const bool isMeasurement = where[1] == 'X';
    FaultRig<Vega> rig(FaultRig<Vega>::Timeouts::Real);
    rig.stream.setBinaryQueryMode(where[0] != 'T');
    rig.simulator.addFault(kind + std::to_string(ms) + "@" + where);
    EXPECT_TRUE(rig.stream.open() && rig.stream.start());
    const std::chrono::milliseconds lateness(ms);
    rig.nextFrameUntil([] { return false; }, lateness + 500ms);
    if (isMeasurement) {
        rig.simulator.clearFaults();
        rig.streamOn();
    }
    EXPECT_TRUE(rig.stream.stop());
    EXPECT_TRUE(rig.simulator.waitForCommand("TSTOP", hangGuard)) << "left tracking";
    EXPECT_GT(rig.simulator.faultCount(), 0U);
    rig.simulator.clearFaults();
    // The answer to TSTOP may be behind another one; 2 s later the link is in step, come what may.
    std::this_thread::sleep_for(2 * lateness + 2s);
    rig.log.take();
    EXPECT_TRUE(rig.stream.start());
    rig.streamOn();
    EXPECT_TRUE(rig.stream.close());
    EXPECT_THAT(rig.log.take(4), testing::IsEmpty());
    EXPECT_EQ(rig.takeWrong(), "");
    rig.healthySession();
}

INSTANTIATE_TEST_SUITE_P(Faults, LateAnswers,
                         testing::Combine(testing::Values("late=", "drip=0."),
                                          testing::Values(150, 400, 800, 1500),
                                          testing::Values("INIT#1", "PHRQ#2", "PINIT#2", "TSTART#1",
                                                          "BX#3", "BX#3-", "TX#3", "TX#3-",
                                                          "TSTOP#1", "*")));

/// 5 s for INIT over a network, 5 s for each command on a line.
TEST(Faults, SlowAnswersAreNoFaults) {
    FaultRig<Vega> network(FaultRig<Vega>::Timeouts::Real);
    network.simulator.addFault("late=2500@INIT");
    network.healthySession();
    FaultRig<Vicra> line(FaultRig<Vicra>::Timeouts::Real);
    line.simulator.addFault("late=2500@PHRQ#2");
    line.healthySession();
}

class FaultySession : public testing::TestWithParam<std::tuple<int, FaultRow>> {};

TEST_P(FaultySession, IsReportedAndTheNextOneWorks) {
    const auto& [number, fault] = GetParam();
    const auto run = number == Vicra  ? runRow<Vicra>
                     : number == Vega ? runRow<Vega>
                                      : runRow<Aurora>;
    run(fault);
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultySession,
                         testing::Combine(testing::Values(Vicra, Vega, Aurora),
                                          testing::ValuesIn(faultRows)),
                         nameOfCell);

} // namespace
} // namespace Morvalin

#include "protocol/device.h"
#include "simulator/Texts.h"
#include "tests/faults/FrameCheck.h"
#include "tests/streams/Rig.h"

#include <thread>

namespace Morvalin {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

using Frame = std::shared_ptr<const TrackingStreamData>;

/// Tools in the ports 1 to 3, or three registered ones, with ids in the order of their handles.
template <int N>
std::unique_ptr<Rig<N>> makeRig(ndisim::DeviceOptions options = {}, int tools = 3) {
    for (int port = 1; N == Aurora && port <= tools; ++port)
        options.tools.push_back(ndisim::parseWiredTool(std::to_string(port) + ":probe:P"));
    auto rig = std::make_unique<Rig<N>>(options);
    for (int i = 1; N != Aurora && i <= tools; ++i)
        rig->addTool("tool" + std::to_string(i), std::to_string(i));
    return rig;
}

/// An open rig in tracking mode whose work is done step by step by the test.
template <int N>
struct Running {
    explicit Running(ndisim::DeviceOptions options = {}, int tools = 3, bool isBinary = true) :
        rig(makeRig<N>(std::move(options), tools)), stream(rig->stream) {
        stream.setBinaryQueryMode(isBinary);
        stream.output.connect([this](const std::shared_ptr<const Data>& data) {
            frame = std::dynamic_pointer_cast<const TrackingStreamData>(data);
            stream.maxRangeOptions(); // receivers may call back: no lock is held
            stream.instruments()->size();
        });
        EXPECT_TRUE(stream.open());
        EXPECT_TRUE(stream.startImpl());
        rig->log.take();
        rig->takeCommands();
    }

    /// The frame that one step gives, null for none.
    Frame step() {
        frame = nullptr;
        const auto before = std::chrono::system_clock::now();
        const auto continuation = stream.doWork();
        EXPECT_TRUE(continuation);
        EXPECT_EQ(continuation->callAgain, 1);
        EXPECT_GE(continuation->time, before + 5ms);
        return frame;
    }
    Frame nextFrame() {
        rig->nextFrame();
        return step();
    }
    /// The next frame there is: after a fault the connection may take some steps.
    Frame frameAgain() {
        for (int steps = 0; steps < 20; ++steps)
            if (const Frame next = nextFrame())
                return next;
        return nullptr;
    }
    /// What is wrong with a frame as the device's last answer, with all its tools; empty: nothing.
    std::string wrongInAnswer(const Frame& given) const {
        const ndisim::Exchange own = rig->simulator.exchanges().back();
        std::string wrong = "no frame";
        if (given && given->instruments.size() == own.measurement->tools.size())
            rig->simulator.withDevice(
                [&](const ndisim::Device& device) { wrong = wrongIn(*given, own, device); });
        return wrong;
    }

    std::unique_ptr<Rig<N>> rig;
    PolarisAuroraTrackingStream<N>& stream;
    Frame frame;
};

const TrackingInstrumentFiducialsData& markersOf(const Frame& frame) {
    return dynamic_cast<const TrackingInstrumentFiducialsData&>(*frame->components().at(0));
}

std::int64_t millisecondsNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

ndisim::ToolStateRule state(int place, ndisim::ToolCondition condition, std::uint32_t first,
                            std::uint32_t last) {
    return {place, condition, first, last, 0};
}

template <int N>
void checkPoses(bool isBinary, const char* command) {
    ndisim::DeviceOptions options;
    options.strays = N == Aurora ? 0 : 7;
    options.hasSingleStray = N == Vega;
    options.toolStates = {state(3, ndisim::ToolCondition::Missing, 4, 6)};
    Running<N> running(options, 3, isBinary);
    const std::int64_t begin = millisecondsNow();
    for (int i = 0; i < 10; ++i) {
        const Frame frame = running.nextFrame();
        EXPECT_EQ(running.wrongInAnswer(frame), "");
        EXPECT_TRUE(begin <= frame->timestamp && frame->timestamp <= millisecondsNow());
        const auto& markers = markersOf(frame);
        EXPECT_EQ(markers.identifiers,
                  std::vector<std::uint64_t>(options.strays, 0xCBF29CE484222325U));
    }
    EXPECT_THAT(running.rig->takeCommands(), Each(std::string(command)));
    EXPECT_THAT(running.rig->log.take(), IsEmpty());
}

TEST(Streaming, PosesAreThoseThatWereSent) {
    checkPoses<Vega>(true, "BX:180F");
    checkPoses<Vega>(false, "TX:1005");
    checkPoses<Vicra>(true, "BX:180F");
    checkPoses<Vicra>(false, "TX:1005");
    checkPoses<Aurora>(true, "BX:0801");
    checkPoses<Aurora>(false, "TX:1005");
}

TEST(Streaming, OldFramesAreNotHandedOutAndConsumersThatThrowAreTold) {
    Running<Vega> running;
    ASSERT_TRUE(running.nextFrame());
    const auto before = running.rig->instruments();
    EXPECT_FALSE(running.step());
    EXPECT_EQ(running.rig->instruments()[0].timestamp, before[0].timestamp);
    EXPECT_TRUE(running.stream.stopImpl() && running.stream.startImpl());
    running.stream.setBinaryQueryMode(false); // takes effect at once
    EXPECT_TRUE(running.nextFrame());
    EXPECT_THAT(running.rig->takeCommands(),
                ElementsAre("BX:180F", "BX:180F", "TSTOP:", "TSTART:", "TX:1005"));
    running.stream.output.connect([](const auto&) { throw std::runtime_error("disk full"); });
    EXPECT_TRUE(running.nextFrame());
    EXPECT_THAT(running.rig->log.take(),
                ElementsAre("[4] Error while receiving tracking data. disk full"));
}

TEST(Streaming, DisabledToolsStayInactiveAndMissingOnesComeBack) {
    ndisim::DeviceOptions options;
    options.toolStates = {state(2, ndisim::ToolCondition::Missing, 3, 3),
                          state(3, ndisim::ToolCondition::Disabled, 3, 3)};
    Running<Vega> running(options);
    ASSERT_TRUE(running.nextFrame()); // 2
    std::int64_t disabledAt = 0;
    for (std::uint32_t number = 3; number < 6; ++number) {
        const Frame frame = running.nextFrame();
        ASSERT_TRUE(frame);
        const auto& tools = frame->instruments;
        EXPECT_TRUE(tools[1].active && tools[1].timestamp == tools[0].timestamp);
        EXPECT_EQ(tools[1].quality == 0, number == 3);
        EXPECT_FALSE(tools[2].active);
        EXPECT_EQ(tools[2].matrix, Matrix4(Matrix4::Identity()));
        EXPECT_EQ(tools[2].quality, 0);
        if (number == 3)
            disabledAt = tools[0].timestamp;
        EXPECT_EQ(tools[2].timestamp, disabledAt);
    }
    running.stream.instruments()->setActive("3", true);
    EXPECT_EQ(running.wrongInAnswer(running.nextFrame()), "");
}

TEST(Streaming, OnlyTheMainInstrumentDecides) {
    ndisim::DeviceOptions options;
    options.toolStates = {state(1, ndisim::ToolCondition::Disabled, 2, 3)};
    Running<Vega> running(options, 2);
    EXPECT_TRUE(running.step()); // 1
    EXPECT_FALSE(running.nextFrame());
    EXPECT_FALSE(running.nextFrame());
    EXPECT_TRUE(running.nextFrame()); // 4: nothing of a disabled main tool is stored

    auto registry = running.stream.instruments();
    registry->create(TrackerID("0", "not of the device", ""), true);
    registry->setMainById("0");
    EXPECT_FALSE(running.nextFrame());
    EXPECT_THAT(running.rig->log.take(),
                ElementsAre("[4] ThreadSafeInstruments: modify: Special object for instrument "
                            "with ID 0 does not exist"));
}

TEST(Streaming, WhatIsActiveInAFrameWasMeasuredInIt) {
    Running<Vega> running({}, 2);
    auto registry = running.stream.instruments();
    // Nobody measures the first one; the second one is made active at any moment.
    registry->create(TrackerID("0", "not of the device", ""), true);
    registry->setPose("0", Matrix4::Identity(), 1.0, millisecondsNow() + 3'600'000, 0);
    registry->setMainById("1");
    const std::jthread user([&](const std::stop_token& isDone) {
        for (bool active = true; !isDone.stop_requested(); active = !active)
            registry->setActive("2", active);
    });
    for (int i = 0; i < 100; ++i) {
        const Frame frame = running.nextFrame();
        ASSERT_TRUE(frame);
        EXPECT_LE(frame->timestamp, millisecondsNow());
        EXPECT_FALSE(frame->instruments[0].active);
        for (const TrackingInstrument& tool : frame->instruments)
            EXPECT_TRUE(!tool.active || tool.timestamp == frame->timestamp) << tool.trackerId.ID;
    }
}

TEST(Streaming, WithoutInstrumentsEveryAnswerIsAFrame) {
    const auto check = [](bool isBinary, const std::vector<std::pair<unsigned, unsigned>>& table) {
        Running<Vega> running({}, 0, isBinary);
        for (const auto& [strays, listed] : table) {
            running.rig->simulator.withDevice(
                [n = strays](ndisim::Device& device) { device.setStrays(n); });
            const Frame frame = running.step();
            ASSERT_TRUE(frame) << strays;
            EXPECT_THAT(markersOf(frame).positions, testing::SizeIs(listed));
        }
    };
    // Binary counts are signed, text keeps 50.
    check(true, {{50, 50}, {127, 127}, {128, 0}, {140, 0}, {3, 3}});
    check(false, {{50, 50}, {51, 50}, {90, 50}, {3, 3}});
}

/// A binary answer, with a length and a sum that fit what stands before its old sum, as a fault.
std::string asFault(std::string answer) {
    answer.resize(answer.size() - 2);
    const std::size_t body = answer.size() - 6;
    answer[2] = static_cast<char>(body & 0xFF);
    answer[3] = static_cast<char>(body >> 8);
    const unsigned crc = ndisim::crc16(answer);
    answer += {static_cast<char>(crc & 0xFF), static_cast<char>(crc >> 8)};
    std::string fault(2 * answer.size(), '0');
    hexEncode(fault.data(), answer.data(), static_cast<int>(answer.size()));
    return "raw=" + fault;
}

/// One that ends within its last tool.
std::string cutWithin(std::string answer) {
    answer.resize(answer.size() - 28);
    return asFault(std::move(answer));
}

void expectSameInstruments(const std::vector<TrackingInstrument>& now,
                           const std::vector<TrackingInstrument>& before) {
    ASSERT_EQ(now.size(), before.size());
    for (std::size_t i = 0; i < now.size(); ++i)
        EXPECT_TRUE(now[i].hasSameData(before[i]) && now[i].active) << now[i].trackerId.ID;
}

void checkFailedExchanges(bool isBinary, int tools) {
    Running<Vega> running({}, tools, isBinary);
    ASSERT_TRUE(running.nextFrame());
    const std::string zeros(4094, '0'); // as long as an answer can be, with a sum that fits
    const Lines faults = {
        "no-answer",    "crc",
        "error=0D",     "reply=ERROR00",
        "reply=RESET",  "reply=",
        "raw=" + zeros, cutWithin(running.rig->simulator.exchanges().back().reply)};
    for (std::size_t i = 0; i < faults.size(); ++i) {
        SCOPED_TRACE(faults[i].substr(0, 20) + (isBinary ? " binary" : " text"));
        // The answers of this form are now older than those of the other one.
        running.stream.setBinaryQueryMode(!isBinary);
        ASSERT_TRUE(running.frameAgain());
        running.stream.setBinaryQueryMode(isBinary);
        running.rig->log.take();
        if (tools > 0)
            running.stream.instruments()->setMainById(i % 2 == 0 ? "2" : "1");
        const auto before = running.rig->instruments();
        running.rig->simulator.addFault(faults[i] + "@*");
        EXPECT_FALSE(running.nextFrame());
        expectSameInstruments(running.rig->instruments(), before);
        EXPECT_THAT(running.rig->log.take(),
                    ElementsAre(AnyOf(
                        StartsWith("[4] NDI Tracking System Error: "),
                        "[4] Error while receiving tracking data. The answer is no measurement.")));
        running.rig->simulator.clearFaults();
        const Frame frame = running.frameAgain();
        ASSERT_TRUE(frame);
        EXPECT_EQ(tools > 0 ? running.wrongInAnswer(frame) : "", "");
    }
}

TEST(Streaming, AFailedExchangeIsNoFrame) {
    for (const int tools : {0, 2}) {
        checkFailedExchanges(true, tools);
        checkFailedExchanges(false, tools);
    }
}

TEST(Streaming, AReopenedStreamHandsOutNothingBeforeItsFirstAnswer) {
    Running<Vega> running;
    for (const char* fault : {"no-answer@BX#1", "crc@BX#1", "late=900@TSTART#1"}) {
        SCOPED_TRACE(fault);
        ASSERT_TRUE(running.nextFrame()); // whose number the new connection does not know
        running.rig->simulator.addFault(fault);
        ASSERT_TRUE(running.stream.stopImpl() && running.stream.close());
        ASSERT_TRUE(running.stream.open() && running.stream.startImpl());
        EXPECT_EQ(running.wrongInAnswer(running.frameAgain()), "");
        running.rig->simulator.clearFaults();
    }
}

TEST(Streaming, NoAnswerIsTakenForTheNextCommands) {
    // Behind a late answer come those to later commands, one by one.
    const std::vector<std::string> table[] = {
        {"no-answer@*#1", "late=8"}, {"cut=20@*#1", "late=8"},     {"late=250@*#1", "late=8"},
        {"late=400@*#1", "late=8"},  {"late=1450@*#1", "late=60"}, {"late=1900@*#1"},
    };
    for (const bool isBinary : {true, false}) {
        Running<Vega> running({}, 2, isBinary);
        for (const auto& faults : table) {
            SCOPED_TRACE(faults[0]);
            for (const std::string& fault : faults)
                running.rig->simulator.addFault(fault);
            EXPECT_FALSE(running.nextFrame());
            for (int frames = 0, steps = 0; frames < 3; ++steps) {
                ASSERT_LT(steps, 20);
                const Frame frame = running.nextFrame();
                if (!frame)
                    continue;
                EXPECT_EQ(running.wrongInAnswer(frame), "");
                ++frames;
            }
            EXPECT_THAT(running.rig->log.take(),
                        Each(StartsWith("[4] NDI Tracking System Error: ")));
            running.rig->simulator.clearFaults();
        }
    }
}

} // namespace
} // namespace Morvalin

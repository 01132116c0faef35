#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ScriptedStream.h"

using namespace Morvalin;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Call = bool (Stream::*)();

/// Brings a closed stream into one of the states that last.
void bring(Stream& stream, Stream::State state) {
    const bool isStarted = state == Stream::Running || state == Stream::Paused;
    ASSERT_TRUE(state == Stream::Closed || stream.open());
    ASSERT_TRUE(!isStarted || stream.start());
    ASSERT_TRUE(state != Stream::Paused || stream.pause());
    ASSERT_EQ(stream.state(), state);
}

struct Case {
    const char* name;
    Call call;
    Stream::State from;
    const char* failingHook;
    const char* expectedEvents;
    bool expectedResult;
    Stream::State to;
};

const Case cases[] = {
    {"open", &Stream::open, Stream::Closed, "", "0>1 openImpl 1>2", true, Stream::Open},
    {"open", &Stream::open, Stream::Closed, "openImpl", "0>1 openImpl 1>0", false, Stream::Closed},
    {"open", &Stream::open, Stream::Open, "", "", true, Stream::Open},
    {"open", &Stream::open, Stream::Running, "", "", true, Stream::Running},
    {"open", &Stream::open, Stream::Paused, "", "", true, Stream::Paused},
    {"start", &Stream::start, Stream::Closed, "", "", false, Stream::Closed},
    {"start", &Stream::start, Stream::Open, "", "2>3 startImpl 3>4", true, Stream::Running},
    {"start", &Stream::start, Stream::Open, "startImpl", "2>3 startImpl 3>2", false, Stream::Open},
    {"start", &Stream::start, Stream::Running, "", "", true, Stream::Running},
    {"start", &Stream::start, Stream::Paused, "", "", false, Stream::Paused},
    {"stop", &Stream::stop, Stream::Closed, "", "", true, Stream::Closed},
    {"stop", &Stream::stop, Stream::Open, "", "", true, Stream::Open},
    {"stop", &Stream::stop, Stream::Running, "", "4>8 stopImpl 8>2", true, Stream::Open},
    {"stop", &Stream::stop, Stream::Running, "stopImpl", "4>8 stopImpl 8>2", false, Stream::Open},
    {"stop", &Stream::stop, Stream::Paused, "", "6>8 stopImpl 8>2", true, Stream::Open},
    {"close", &Stream::close, Stream::Closed, "", "", true, Stream::Closed},
    {"close", &Stream::close, Stream::Open, "", "2>9 closeImpl 9>0", true, Stream::Closed},
    {"close", &Stream::close, Stream::Open, "closeImpl", "2>9 closeImpl 9>0", false,
     Stream::Closed},
    {"close", &Stream::close, Stream::Running, "", "4>8 stopImpl 8>2 2>9 closeImpl 9>0", true,
     Stream::Closed},
    {"close", &Stream::close, Stream::Running, "stopImpl", "4>8 stopImpl 8>2 2>9 closeImpl 9>0",
     false, Stream::Closed},
    {"close", &Stream::close, Stream::Paused, "", "6>8 stopImpl 8>2 2>9 closeImpl 9>0", true,
     Stream::Closed},
    {"pause", &Stream::pause, Stream::Closed, "", "", false, Stream::Closed},
    {"pause", &Stream::pause, Stream::Open, "", "", false, Stream::Open},
    {"pause", &Stream::pause, Stream::Running, "", "4>5 pauseImpl 5>6", true, Stream::Paused},
    {"pause", &Stream::pause, Stream::Running, "pauseImpl", "4>5 pauseImpl 5>4", false,
     Stream::Running},
    {"pause", &Stream::pause, Stream::Paused, "", "", true, Stream::Paused},
    {"resume", &Stream::resume, Stream::Open, "", "", false, Stream::Open},
    {"resume", &Stream::resume, Stream::Running, "", "", true, Stream::Running},
    {"resume", &Stream::resume, Stream::Paused, "", "6>7 resumeImpl 7>4", true, Stream::Running},
    {"resume", &Stream::resume, Stream::Paused, "resumeImpl", "6>7 resumeImpl 7>6", false,
     Stream::Paused},
};

/// Runs the table with hooks that fail in one way; answers how many log lines that drew.
std::size_t runCases(const std::function<bool()>& failure) {
    std::size_t lineCount = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.name) + " from " + std::to_string(c.from) +
                     " failing: " + c.failingHook);
        CapturedLog log;
        ScriptedStream stream;
        bring(stream, c.from);
        stream.events.clear();
        stream.hooks[c.failingHook] = failure;
        EXPECT_EQ((stream.*c.call)(), c.expectedResult);
        EXPECT_EQ(stream.events.text(), c.expectedEvents);
        EXPECT_EQ(stream.state(), c.to);
        EXPECT_EQ(stream.isRunning(), c.to == Stream::Running);
        for (const std::string& line : log.lines()) {
            EXPECT_THAT(line, HasSubstr(std::string("4 Stream: scripted: ") + c.failingHook));
            ++lineCount;
        }
        stream.hooks.clear();
    }
    return lineCount;
}

} // namespace

TEST(StreamStates, EveryCallInEveryState) {
    EXPECT_EQ(runCases([] { return false; }), 0u);
}

TEST(StreamStates, HookThatThrowsHasFailedWithOneLogLine) {
    const auto failingCases = std::count_if(std::begin(cases), std::end(cases),
                                            [](const Case& c) { return *c.failingHook != 0; });
    const auto expected = static_cast<std::size_t>(failingCases);
    EXPECT_EQ(runCases([]() -> bool { throw std::runtime_error("no device"); }), expected);
    EXPECT_EQ(runCases([]() -> bool { throw 5; }), expected);
}

TEST(StreamStates, PausingIsRefusedWhereItIsNotSupported) {
    ScriptedStream stream(false);
    bring(stream, Stream::Running);
    stream.events.clear();
    EXPECT_FALSE(stream.pause());
    EXPECT_EQ(stream.events.text(), "");
    EXPECT_EQ(stream.state(), Stream::Running);
}

TEST(StreamStates, ReceiverThatThrowsDisturbsNeitherTheStreamNorOtherReceivers) {
    CapturedLog log;
    ScriptedStream stream;
    int received = 0;
    stream.stateChanged.connect([](const Stream::StateChange&) { throw std::runtime_error("x"); });
    stream.stateChanged.connect([&](const Stream::StateChange&) { ++received; });
    EXPECT_TRUE(stream.open());
    EXPECT_EQ(received, 2);
    EXPECT_THAT(log.lines(), ElementsAre("4 Signal: A receiver has failed: x",
                                         "4 Signal: A receiver has failed: x"));
}

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"
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

constexpr auto Closed = Stream::Closed, Open = Stream::Open, Running = Stream::Running,
               Paused = Stream::Paused;

const Case cases[] = {
    {"open", &Stream::open, Closed, "", "0>1 openImpl 1>2", true, Open},
    {"open", &Stream::open, Closed, "openImpl", "0>1 openImpl 1>0", false, Closed},
    {"open", &Stream::open, Open, "", "", true, Open},
    {"open", &Stream::open, Running, "", "", true, Running},
    {"open", &Stream::open, Paused, "", "", true, Paused},
    {"start", &Stream::start, Closed, "", "", false, Closed},
    {"start", &Stream::start, Open, "", "2>3 startImpl 3>4", true, Running},
    {"start", &Stream::start, Open, "startImpl", "2>3 startImpl 3>2", false, Open},
    {"start", &Stream::start, Running, "", "", true, Running},
    {"start", &Stream::start, Paused, "", "", false, Paused},
    {"stop", &Stream::stop, Closed, "", "", true, Closed},
    {"stop", &Stream::stop, Open, "", "", true, Open},
    {"stop", &Stream::stop, Running, "", "4>8 stopImpl 8>2", true, Open},
    {"stop", &Stream::stop, Running, "stopImpl", "4>8 stopImpl 8>2", false, Open},
    {"stop", &Stream::stop, Paused, "", "6>8 stopImpl 8>2", true, Open},
    {"close", &Stream::close, Closed, "", "", true, Closed},
    {"close", &Stream::close, Open, "", "2>9 closeImpl 9>0", true, Closed},
    {"close", &Stream::close, Open, "closeImpl", "2>9 closeImpl 9>0", false, Closed},
    {"close", &Stream::close, Running, "", "4>8 stopImpl 8>2 2>9 closeImpl 9>0", true, Closed},
    {"close", &Stream::close, Running, "stopImpl", "4>8 stopImpl 8>2 2>9 closeImpl 9>0", false,
     Closed},
    {"close", &Stream::close, Paused, "", "6>8 stopImpl 8>2 2>9 closeImpl 9>0", true, Closed},
    {"pause", &Stream::pause, Closed, "", "", false, Closed},
    {"pause", &Stream::pause, Open, "", "", false, Open},
    {"pause", &Stream::pause, Running, "", "4>5 pauseImpl 5>6", true, Paused},
    {"pause", &Stream::pause, Running, "pauseImpl", "4>5 pauseImpl 5>4", false, Running},
    {"pause", &Stream::pause, Running, "supportsPausing", "", false, Running},
    {"pause", &Stream::pause, Paused, "", "", true, Paused},
    {"resume", &Stream::resume, Open, "", "", false, Open},
    {"resume", &Stream::resume, Running, "", "", true, Running},
    {"resume", &Stream::resume, Paused, "", "6>7 resumeImpl 7>4", true, Running},
    {"resume", &Stream::resume, Paused, "resumeImpl", "6>7 resumeImpl 7>6", false, Paused},
};

/// Runs the table with hooks that fail in one way; answers how many log lines that drew.
std::size_t runCases(const std::function<bool()>& failure) {
    std::size_t lineCount = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.name) + " from " + std::to_string(c.from) +
                     " failing: " + c.failingHook);
        LogCapture log;
        ScriptedStream stream;
        bring(stream, c.from);
        stream.events.clear();
        stream.hooks[c.failingHook] = failure;
        EXPECT_EQ((stream.*c.call)(), c.expectedResult);
        EXPECT_EQ(stream.events.text(), c.expectedEvents);
        EXPECT_EQ(stream.state(), c.to);
        EXPECT_EQ(stream.isRunning(), c.to == Stream::Running);
        for (const std::string& line : log.take()) {
            EXPECT_THAT(line, HasSubstr(std::string("[4] Stream: scripted: ") + c.failingHook));
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

TEST(StreamStates, ReceiverThatThrowsDisturbsNeitherTheStreamNorOtherReceivers) {
    LogCapture log;
    ScriptedStream stream;
    int received = 0;
    stream.stateChanged.connect([](const Stream::StateChange&) { throw std::runtime_error("x"); });
    stream.stateChanged.connect([&](const Stream::StateChange&) { ++received; });
    EXPECT_TRUE(stream.open());
    EXPECT_EQ(received, 2);
    EXPECT_THAT(log.take(), ElementsAre("[4] Signal: A receiver has failed: x",
                                        "[4] Signal: A receiver has failed: x"));
    // What was to be done with data is the emitter's business, too.
    for (const char* const fault : {"first", "second"}) {
        stream.output.connect([fault](const auto&) { throw std::runtime_error(fault); });
        stream.output.connect([&](const auto&) { ++received; });
    }
    EXPECT_THAT([&] { stream.output(nullptr); },
                testing::ThrowsMessage<std::runtime_error>("first"));
    EXPECT_EQ(received, 4);
    EXPECT_THAT(log.take(), ElementsAre("[4] Signal: A receiver has failed: second"));
}

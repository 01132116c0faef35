#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"
#include "ScriptedStream.h"

#include <morvalinstream/StreamPacing.h>

using namespace Morvalin;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(StreamWorker, WorksAgainAndAgainFromRunningUntilStopped) {
    ScriptedStream stream;
    ASSERT_TRUE(stream.open());
    for (int run = 0; run < 3; ++run) {
        std::atomic<int> stateAtFirstCall{-1};
        stream.work = [&] {
            int none = -1;
            stateAtFirstCall.compare_exchange_strong(none, stream.state());
            return ScriptedStream::again();
        };
        ASSERT_TRUE(stream.start());
        stream.awaitWork(stream.workCount + 5);
        ASSERT_TRUE(stream.stop());
        EXPECT_EQ(stateAtFirstCall, Stream::Running);
    }
    EXPECT_FALSE(stream.hasOverlapped);
}

TEST(StreamWorker, RestsWhilePausedUnlessTheStreamWantsToGoOn) {
    for (const bool worksInPause : {false, true}) {
        ScriptedStream stream;
        stream.work = ScriptedStream::again;
        stream.worksInPause = worksInPause;
        ASSERT_TRUE(stream.open() && stream.start());
        stream.awaitWork(1);
        ASSERT_TRUE(stream.pause());
        const int count = stream.workCount;
        if (worksInPause)
            stream.awaitWork(count + 3);
        else
            EXPECT_EQ(stream.workCount, count);
        ASSERT_TRUE(stream.resume());
        stream.awaitWork(stream.workCount + 3);
        ASSERT_TRUE(stream.close());
        EXPECT_FALSE(stream.hasOverlapped);
    }
}

TEST(StreamWorker, EndsWithOneLogLineAndBeginsAnewAtTheNextStart) {
    const std::pair<std::function<ScriptedStream::Work()>, const char*> cases[] = {
        {[] { return std::nullopt; }, "[3] Stream: scripted: doWork asked not to be called again"},
        {[] {
             return Stream::WorkContinuation{{}, 0};
         },
         "[3] Stream: scripted: doWork asked not to be called again"},
        {[]() -> ScriptedStream::Work { throw std::runtime_error("line cut"); }, "line cut"},
        {[]() -> ScriptedStream::Work { throw 5; }, "[4] Stream: scripted: doWork failed"},
    };
    for (const auto& [work, expected] : cases) {
        SCOPED_TRACE(expected);
        LogCapture log;
        ScriptedStream stream;
        stream.work = work;
        ASSERT_TRUE(stream.open() && stream.start());
        stream.awaitWork(1);
        EXPECT_EQ(stream.state(), Stream::Running);
        EXPECT_TRUE(stream.stop());
        EXPECT_EQ(stream.workCount, 1);
        EXPECT_THAT(log.take(), ElementsAre(HasSubstr(expected)));
        stream.work = ScriptedStream::later;
        EXPECT_TRUE(stream.start());
        stream.awaitWork(2);
    }
}

TEST(StreamPacing, NextCallIsDueOnTheClockThatDoesNotJump) {
    using std::chrono::steady_clock;
    using std::chrono::system_clock;
    const system_clock::time_point noon{std::chrono::hours(24 * 365 * 55)};
    const steady_clock::time_point uptime{90min};
    struct Case {
        const char* name;
        system_clock::duration systemElapsed; ///< during doWork(), as each clock saw it
        steady_clock::duration steadyElapsed;
        system_clock::time_point wanted;
        steady_clock::duration expectedWait; ///< after doWork()
    };
    const Case cases[] = {
        {"the rest of the period", 2ms, 2ms, noon + 5ms, 3ms},
        {"a clock that is being adjusted a little", 3ms, 2ms, noon + 5ms, 2ms},
        {"work took longer than the period", 8ms, 8ms, noon + 5ms, 0ms},
        {"a time long ago", 1ms, 1ms, system_clock::time_point::min(), 0ms},
        {"clock set an hour ahead during the call", 1h + 2ms, 2ms, noon + 5ms, 0ms},
        {"clock set an hour ahead, time beyond that", 1h + 2ms, 2ms, noon + 2h, 0ms},
        {"clock set an hour back, time taken before", -1h + 2ms, 2ms, noon + 5ms, 0ms},
        {"clock set an hour back, time taken after", -1h + 2ms, 2ms, noon - 1h + 5ms, 0ms},
        {"never", 1ms, 1ms, system_clock::time_point::max(), 24h * 365},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ClockReading before{noon, uptime};
        const ClockReading after{noon + c.systemElapsed, uptime + c.steadyElapsed};
        EXPECT_EQ(nextCallTime(before, after, c.wanted) - after.steady, c.expectedWait);
    }
}

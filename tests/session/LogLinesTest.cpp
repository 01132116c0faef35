// The log's way to a reader: nothing but repetitions is held back, every line is told or counted,
// and it is known which stream wrote it.

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "session/LogLines.h"
#include "tests/host/LogCapture.h"

namespace Morvalin::App {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

/// What a throttle lets through, with a clock of its own.
struct Written {
    void add(const LogThrottle::Lines& lines) {
        for (const LogLine& line : lines)
            texts.push_back(line.source + std::to_string(line.level) + line.category + ":" +
                            line.text);
    }
    void log(const char* stream, int level, const char* text, const char* category = "c") {
        add(throttle.take({{}, level, stream, category, text}, now));
    }
    void wait(std::chrono::milliseconds time) {
        now += time;
        add(throttle.takeDue(now));
    }
    std::vector<std::string> take() { return std::exchange(texts, {}); }

    LogThrottle throttle;
    LogThrottle::Clock::time_point now{100s};
    std::vector<std::string> texts;
};

TEST(LogThrottle, CountsRepetitionsAndNothingElse) {
    Written log;
    for (int i = 0; i < 190; ++i)
        log.log("a", 4, "lost");
    EXPECT_THAT(log.take(), ElementsAre("a4c:lost", "a4c:lost", "a4c:lost"));
    log.log("b", 4, "lost"); // of another stream, level or category
    log.log("a", 3, "lost");
    EXPECT_THAT(log.take(), ElementsAre("b4c:lost", "a3c:lost"));
    EXPECT_EQ(log.throttle.nextDue(), log.now + 1s);
    log.wait(999ms);
    EXPECT_THAT(log.take(), ElementsAre());
    log.wait(1ms);
    EXPECT_THAT(log.take(), ElementsAre("a4c:… and 187 more like this in the last second"));
    EXPECT_EQ(log.throttle.nextDue(), std::nullopt);
    for (int i = 0; i < 5; ++i)
        log.log("a", 4, "lost");
    log.log("a", 4, "lost", "d");
    EXPECT_THAT(log.take(),
                ElementsAre("a4c:lost", "a4c:lost", "a4c:lost",
                            "a4c:… and 2 more like this in the last second", "a4d:lost"));
    for (int i = 0; i < 20; ++i) { // alternating, or slowly enough
        log.log("a", 4, i % 2 == 0 ? "x" : "y");
        log.log("b", 4, "slow");
        log.wait(400ms);
    }
    EXPECT_EQ(log.take().size(), 40u);
}

TEST(LogLines, TellEveryLineOfManyThreadsAndWhoseItIs) {
    LogCapture former;
    std::vector<LogLine> written;
    std::atomic<int> observed = 0;
    {
        LogLines lines([&](const LogLine& line) { written.push_back(line); });
        lines.observe([&](const LogLine&) { ++observed; });
        std::vector<std::thread> writers;
        for (const std::string name : {"a", "b"})
            writers.emplace_back([name] {
                const Log::Source outer(name);
                for (int i = 0; i < 100; ++i)
                    Log::log(Log::Error, "NDI", "lost");
                const std::string other = name + "'";
                const Log::Source inner(other);
                Log::log(Log::Error, "NDI", "nested");
            });
        for (std::thread& writer : writers)
            writer.join();
        Log::log(Log::Error, "NDI", "nobody's");
    }
    std::map<std::string, std::uint64_t> lost;
    for (const LogLine& line : written)
        lost[line.source + ":" + line.text.substr(0, 6)] +=
            line.text == "lost" || line.text.front() != '\xE2' ? 1
                                                               : std::stoul(line.text.substr(8));
    EXPECT_EQ(lost["a:lost"] + lost["a:… an"], 100u);
    EXPECT_EQ(lost["b:lost"] + lost["b:… an"], 100u);
    EXPECT_EQ(lost["a':nested"] + lost["b':nested"] + lost[":nobody"], 3u);
    EXPECT_EQ(observed, 203);
    EXPECT_EQ(former.take().size(), 203u) << "a former sink gets everything";
}

} // namespace
} // namespace Morvalin::App

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"

using namespace Morvalin;
using testing::ElementsAre;

namespace {

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end; (end = text.find('\n', begin)) != text.npos; begin = end + 1)
        lines.push_back(text.substr(begin, end - begin));
    return lines;
}

} // namespace

TEST(Log, LevelDecidesWhatPasses) {
    EXPECT_EQ(Log::level(), Log::Information);
    LogCapture log;
    for (const int level : {Log::Information, Log::Error}) {
        Log::setLevel(level);
        EXPECT_FALSE(Log::isAccepted(level - 1));
        Log::log(level - 1, "a", "below");
        Log::log(level, "a", "accepted");
    }
    EXPECT_THAT(log.take(), ElementsAre("[2] a: accepted", "[4] a: accepted"));
}

TEST(Log, TextsFromDevicesCannotForgeLinesOrSteerTheTerminal) {
    testing::internal::CaptureStderr();
    Log::log(Log::Error, "NDI", "bad\r\n[1] NDI: forged\x1B[2J\x7F" + std::string(1, '\0') + "end");
    Log::log(Log::Warning, "x\ny", "\xC3\xBC stays");
    EXPECT_THAT(split(testing::internal::GetCapturedStderr()),
                ElementsAre("[4] NDI: bad  [1] NDI: forged [2J  end", "[3] x y: \xC3\xBC stays"));
}

TEST(Log, LinesOfSeveralThreadsDoNotMix) {
    testing::internal::CaptureStderr();
    for (std::vector<std::jthread> threads; threads.size() < 4;)
        threads.emplace_back([letter = static_cast<char>('a' + threads.size())] {
            for (int n = 0; n < 200; ++n)
                Log::log(Log::Error, "T", std::string(100, letter));
        });
    const auto lines = split(testing::internal::GetCapturedStderr());
    EXPECT_EQ(lines.size(), 800u);
    for (const std::string& line : lines)
        EXPECT_EQ(line, "[4] T: " + std::string(100, line.back()));
}

TEST(Log, SinkThatThrowsOrLogsIsHarmless) {
    int calls = 0;
    const Log::Sink previous = Log::setSink([&](int, const std::string&, const std::string&) {
        ++calls;
        Log::log(Log::Error, "sink", "from inside");
        throw std::runtime_error("disk full");
    });
    Log::log(Log::Error, "a", "1");
    Log::log(Log::Error, "a", "2");
    Log::setSink(previous);
    EXPECT_EQ(calls, 2);
}

TEST(Log, ReplacedSinkIsNotUsedAnyMore) {
    // Each sink's memory ends as soon as it is replaced; the sanitizers see a late call.
    auto memory = std::make_unique<int>(0);
    const auto replaceSink = [&memory] {
        auto next = std::make_unique<int>(0);
        const Log::Sink before = Log::setSink(
            [counter = next.get()](int, const std::string&, const std::string&) { ++*counter; });
        memory = std::move(next);
        return before;
    };
    const Log::Sink original = replaceSink();
    std::atomic<bool> isDone{false};
    std::vector<std::jthread> threads(3);
    for (std::jthread& thread : threads)
        thread = std::jthread([&] {
            while (!isDone)
                Log::log(Log::Error, "a", "text");
        });
    for (int i = 0; i < 500; ++i)
        replaceSink();
    isDone = true;
    threads.clear();
    Log::setSink(original);
}

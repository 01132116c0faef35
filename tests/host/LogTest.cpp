#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"

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
    CapturedLog log;
    Log::log(Log::Detail, "a", "below the first level");
    Log::log(Log::Information, "a", "information");
    Log::setLevel(Log::Error);
    EXPECT_FALSE(Log::isAccepted(Log::Warning));
    Log::log(Log::Warning, "b", "below");
    Log::log(Log::Error, "b", "error");
    Log::setLevel(Log::Information);
    EXPECT_THAT(log.lines(), ElementsAre("2 a: information", "4 b: error"));
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
    const auto makeSink = [](int* counter) {
        return [counter](int, const std::string&, const std::string&) { ++*counter; };
    };
    auto memory = std::make_unique<int>(0);
    const Log::Sink original = Log::setSink(makeSink(memory.get()));
    std::atomic<bool> isDone{false};
    std::vector<std::jthread> threads(3);
    for (std::jthread& thread : threads)
        thread = std::jthread([&] {
            while (!isDone)
                Log::log(Log::Error, "a", "text");
        });
    for (int i = 0; i < 500; ++i) {
        auto next = std::make_unique<int>(0);
        Log::setSink(makeSink(next.get()));
        memory = std::move(next);
    }
    isDone = true;
    threads.clear();
    Log::setSink(original);
}

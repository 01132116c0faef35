#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"

using namespace Morvalin;
using testing::ElementsAre;

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
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[4] NDI: bad  [1] NDI: forged [2J  end\n[3] x y: \xC3\xBC stays\n");
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

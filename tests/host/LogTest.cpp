#include <stdexcept>

#include <gtest/gtest.h>

#include <morvalincore/Log.h>

using namespace Morvalin;

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

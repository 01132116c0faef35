#include "tests/protocol/Connection.h"
#include "tests/protocol/posix/SignalStorm.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

// Whoever runs the tests may have switched it off for them; for every test of this program a peer
// that has gone away must be harmless with it.
[[maybe_unused]] const auto inherited = signal(SIGPIPE, SIG_DFL);

using Signals = Connection;

} // namespace

TEST_F(Signals, NeitherBreakNorProlongACommand) {
    const SignalStorm storm;
    connect();
    simulator.addFault("late=2@BEEP"); // some signals' time
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(errorOf("BEEP:1"), 0) << i;
    }
    simulator.addFault("no-answer@VER");
    deviceSetNetworkTimeout(device.get(), 200); // much longer than the pauses between signals
    EXPECT_EQ(errorOf("VER:0"), 0x400);
}

TEST_F(Signals, NoneComesFromAPeerThatHasGone) {
    EXPECT_EQ(errorOf("INIT:"), 0);
    simulator.stop();
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(errorOf("TSTART:"), testing::AnyOf(0x400, 0x500, 0x600));
    }
    EXPECT_EQ(errorOf("TSTART:"), 0x500);
}

TEST_F(Signals, AreLeftToTheProgramByTheReader) {
    static std::atomic<bool> isTaken;
    isTaken = false;
    signal(SIGINT, [](int) { isTaken = true; });
    deviceSetThreadMode(device.get(), true);
    expectGood(kStartTracking);
    expectGood({"TX:0001"});
    // With the main thread deaf, only the reader could take it.
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    kill(getpid(), SIGINT);
    expectGood(std::vector<std::string>(20, "TX:0001"));
    EXPECT_FALSE(isTaken);
    pthread_sigmask(SIG_UNBLOCK, &interrupt, nullptr);
    EXPECT_TRUE(isTaken);
    signal(SIGINT, SIG_DFL);
}

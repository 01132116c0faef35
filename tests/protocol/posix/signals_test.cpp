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
    peer.setScript([](const std::string& command) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // some signals' time
        return track(command);
    });
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(errorOf("BX:0001"), 0) << i;
    }
    peer.alwaysAnswer({});
    deviceSetNetworkTimeout(device.get(), 200); // much longer than the pauses between signals
    EXPECT_EQ(errorOf("BX:0001"), 0x400);
}

TEST_F(Signals, NoneComesFromAPeerThatHasGone) {
    EXPECT_EQ(errorOf("INIT:"), 0);
    peer.unplug();
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(errorOf("TSTART:"), testing::AnyOf(0x400, 0x500, 0x600));
    }
    EXPECT_EQ(errorOf("TSTART:"), 0x500);
}

TEST_F(Signals, AreLeftToTheProgramByTheReader) {
    connect();
    static std::atomic<bool> isTaken;
    isTaken = false;
    signal(SIGINT, [](int) { isTaken = true; });
    deviceSetThreadMode(device.get(), true);
    EXPECT_EQ(errorOf("TSTART:"), 0);
    EXPECT_EQ(errorOf("TX:0001"), 0);
    // With the main thread deaf, only the reader could take it.
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    kill(getpid(), SIGINT);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(errorOf("TX:0001"), 0);
    }
    EXPECT_FALSE(isTaken);
    pthread_sigmask(SIG_UNBLOCK, &interrupt, nullptr);
    EXPECT_TRUE(isTaken);
    signal(SIGINT, SIG_DFL);
}

#include "tests/protocol/Connection.h"

#include <algorithm>

using ThreadMode = Connection;

TEST_F(ThreadMode, TrackingCommandsTakeTheNewestReply) {
    deviceSetThreadMode(device.get(), true);
    deviceSetThreadMode(device.get(), true); // twice is once
    EXPECT_TRUE(deviceGetThreadMode(device.get()));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(errorOf("INIT:"), 0);
        EXPECT_EQ(errorOf("TSTART:"), 0);
        const std::size_t started = peer.commands().size();
        EXPECT_EQ(errorOf("PHSR:00"), 0);
        EXPECT_EQ(peer.commands().size(), started + 1); // nothing is repeated unasked
        std::uint32_t first = 0;
        std::uint32_t last = 0;
        for (int i = 0; i < 30; ++i) {
            ASSERT_EQ(errorOf(i < 15 ? "TX:0001" : "TX:1001"), 0);
            const std::uint32_t frame = deviceTxFrameNumber(device.get(), 0x0A);
            EXPECT_GE(frame, last); // two hand-overs may fall into one: then it is read twice
            first = i == 0 ? frame : first;
            last = frame;
        }
        EXPECT_GT(last, first);
        EXPECT_EQ(errorOf("PINIT:01"), 0); // pauses the thread
        EXPECT_EQ(errorOf("TSTART:"), 0);
        EXPECT_EQ(errorOf("TX:0001"), 0);
        EXPECT_EQ(errorOf(round == 0 ? "INIT:" : "TSTOP:"), 0);
        const std::size_t before = peer.commands().size();
        EXPECT_EQ(errorOf("PHSR:00"), 0);
        EXPECT_EQ(peer.commands().size(), before + 1); // the thread is silent now
    }
    deviceSetThreadMode(device.get(), false);
    deviceSetThreadMode(device.get(), false);
    EXPECT_FALSE(deviceGetThreadMode(device.get()));
    EXPECT_EQ(errorOf("TX:0001"), 0);
}

TEST_F(ThreadMode, SwitchedAndClosedInEveryState) {
    for (int state = 0; state < 16; ++state) {
        SetUp();
        const bool tracks = (state & 1) != 0;
        EXPECT_EQ(errorOf(tracks ? "TSTART:" : "TSTOP:"), 0);
        deviceSetThreadMode(device.get(), true);
        if ((state & 2) != 0) {
            EXPECT_EQ(errorOf(tracks ? "TSTOP:" : "TSTART:"), 0);
        }
        if ((state & 4) != 0) { // a command that fails gives back what it took
            peer.alwaysAnswer(wire::text("ERROR01"));
            EXPECT_EQ(errorOf("PINIT:01"), 0x01);
            peer.setScript(track);
        }
        EXPECT_EQ(errorOf("TX:0001"), 0) << state;
        if ((state & 8) != 0) {
            deviceSetThreadMode(device.get(), false);
            EXPECT_EQ(errorOf("TX:0001"), 0) << state;
        }
    }
}

TEST_F(ThreadMode, ReaderDoesNotStarveOtherCommands) {
    deviceSetThreadMode(device.get(), true);
    EXPECT_EQ(errorOf("TSTART:"), 0);
    EXPECT_EQ(errorOf("TX:0001"), 0);
    for (int i = 0; i < 101; ++i) {
        EXPECT_EQ(errorOf("PINIT:01"), 0);
    }
    // Exchanges of the thread between two such commands; single ones suffer from a busy machine.
    std::vector<int> between;
    int exchanges = 0;
    for (const std::string& command : peer.commands()) {
        ++exchanges;
        if (command.starts_with("PINIT")) {
            between.push_back(std::exchange(exchanges, 0));
        }
    }
    std::nth_element(between.begin(), between.begin() + 50, between.end());
    EXPECT_LE(between[50], 4);
}

TEST_F(ThreadMode, BinaryRepliesEndAtTheirFirstZero) {
    deviceSetThreadMode(device.get(), true);
    EXPECT_EQ(errorOf("TSTART:"), 0);
    EXPECT_EQ(errorOf("BX:0001"), 0x100);
    EXPECT_EQ(device->BxHandleCount, 0);
}

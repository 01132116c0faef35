#include "tests/protocol/Connection.h"

#include <algorithm>

using ThreadMode = Connection;

TEST_F(ThreadMode, TrackingCommandsTakeTheNewestReply) {
    deviceSetThreadMode(device.get(), true);
    deviceSetThreadMode(device.get(), true); // twice is once
    EXPECT_TRUE(deviceGetThreadMode(device.get()));
    for (int round = 0; round < 3; ++round) {
        expectGood(kStartTracking);
        const std::size_t started = simulator.commandCount();
        expectGood({"PHSR:00"});
        EXPECT_EQ(simulator.commandCount(), started + 1); // nothing is repeated unasked
        // The first reply that is handed over may be another command's: it is skipped.
        simulator.clearLog();
        expectGood({"TX:0001"});
        EXPECT_GE(std::ranges::count(simulator.commands(), "TX:0001"), round == 0 ? 2 : 1);
        std::uint32_t first = 0;
        std::uint32_t last = 0;
        for (int i = 0; i < 30; ++i) {
            ASSERT_EQ(errorOf(i < 15 ? "TX:0001" : "TX:0801"), 0);
            const std::uint32_t frame = deviceTxFrameNumber(device.get(), 0x0A);
            EXPECT_GE(frame, last); // two hand-overs may fall into one: then it is read twice
            first = i == 0 ? frame : first;
            last = frame;
        }
        EXPECT_GT(last, first);
        // The first pauses the thread, the last ends its work.
        expectGood({"BEEP:1", "TX:0001", round == 0 ? "INIT:" : "TSTOP:"});
        const std::size_t before = simulator.commandCount();
        expectGood({"PHSR:00"});
        EXPECT_EQ(simulator.commandCount(), before + 1); // the thread is silent now
    }
    deviceSetThreadMode(device.get(), false);
    deviceSetThreadMode(device.get(), false);
    EXPECT_FALSE(deviceGetThreadMode(device.get()));
    expectGood({"TSTART:", "TX:0001"});
}

TEST_F(ThreadMode, SwitchedAndClosedInEveryState) {
    for (int state = 0; state < 16; ++state) {
        connect();
        const bool wasTracking = (state & 1) != 0;
        const bool isTracking = wasTracking != ((state & 2) != 0);
        expectGood({"INIT:"});
        if (wasTracking) {
            expectGood({"TSTART:"});
        }
        deviceSetThreadMode(device.get(), true);
        if (isTracking != wasTracking) {
            expectGood({isTracking ? "TSTART:" : "TSTOP:"});
        }
        if ((state & 4) != 0) { // a command that fails gives back what it took
            EXPECT_EQ(errorOf("NOSUCH:"), 0x01);
        }
        EXPECT_EQ(errorOf("TX:0001"), isTracking ? 0 : 0x0C) << state;
        if ((state & 8) != 0) {
            deviceSetThreadMode(device.get(), false);
            EXPECT_EQ(errorOf("TX:0001"), isTracking ? 0 : 0x0C) << state;
        }
    }
}

TEST_F(ThreadMode, BinaryRepliesEndAtTheirFirstZero) {
    deviceSetThreadMode(device.get(), true);
    expectGood(kStartTracking);
    EXPECT_EQ(errorOf("BX:0001"), 0x100);
    EXPECT_EQ(device->BxHandleCount, 0);
}

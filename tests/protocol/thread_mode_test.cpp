#include "protocol/device.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/ScriptedPeer.h"
#include "tests/protocol/Wire.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

using Answer = ScriptedPeer::Answer;

namespace {

// A device that numbers its frames and answers everything else with OKAY.
Answer track(const std::string& command) {
    static std::atomic<unsigned> frame;
    if (command.starts_with("TX")) {
        return wire::text("010AMISSING00000031" + wire::hex(++frame, 8) + "\n0000");
    }
    if (command.starts_with("BX")) {
        return wire::binary("\x01\x0A\x02" + wire::le32(0x31) + wire::le32(++frame) +
                            wire::le16(0));
    }
    return wire::text("OKAY");
}

class ThreadMode : public testing::Test {
protected:
    void SetUp() override {
        device.reset(deviceOpenNetwork("127.0.0.1", peer.port()));
        ASSERT_TRUE(device);
        deviceSetNetworkTimeout(device.get(), 20000);
    }

    std::int32_t errorOf(const char* command) {
        deviceCommand(device.get(), "%s", command);
        return deviceGetError(device.get());
    }

    ScriptedPeer peer{ScriptedPeer::Kind::tcp, track};
    RecordPtr device;
};

} // namespace

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

TEST_F(ThreadMode, AnErrorEndsTheThreadAndIsReportedOnce) {
    ScriptedPeer line(ScriptedPeer::Kind::pty, track);
    device.reset(deviceOpenSerial(line.path()));
    ASSERT_TRUE(device);
    static std::atomic<int> foreignCalls;
    static std::thread::id here;
    here = std::this_thread::get_id();
    const auto callback = [](std::int32_t, const char*, void*) {
        foreignCalls += std::this_thread::get_id() == here ? 0 : 1;
    };
    deviceSetErrorCallback(device.get(), callback, nullptr);
    deviceSetThreadMode(device.get(), true);
    EXPECT_EQ(errorOf("TSTART:"), 0);
    EXPECT_EQ(errorOf("TX:0001"), 0);
    line.setScript([](const std::string& command) {
        return command.starts_with("TX") ? Answer("ERROR0C\r") : track(command);
    });
    std::int32_t error = 0;
    for (int i = 0; i < 1000 && error == 0; ++i) {
        error = errorOf("TX:0001");
    }
    EXPECT_EQ(error, 0x0C);
    EXPECT_EQ(errorOf("TX:0001"), 0x400);
    // Other commands still work, and switching off and on brings the thread back.
    line.setScript(track);
    EXPECT_EQ(errorOf("TSTOP:"), 0);
    deviceSetThreadMode(device.get(), false);
    deviceSetThreadMode(device.get(), true);
    EXPECT_EQ(errorOf("TSTART:"), 0);
    EXPECT_EQ(errorOf("TX:0001"), 0);
    EXPECT_EQ(foreignCalls, 0);
}

TEST_F(ThreadMode, ReaderLeavesSignalsToTheProgram) {
    static std::atomic<bool> isTaken;
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

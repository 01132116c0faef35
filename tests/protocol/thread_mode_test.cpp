#include "protocol/device.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/ScriptedPeer.h"
#include "tests/protocol/Wire.h"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>

using Answer = ScriptedPeer::Answer;

namespace {

// A device that numbers its frames and answers everything else with OKAY.
class Tracker {
public:
    Answer operator()(const std::string& command) {
        if (command.rfind("TX:8", 0) == 0) {
            return wire::text("ERROR0C");
        }
        if (command.rfind("TX", 0) == 0) {
            return wire::text("010AMISSING00000031" + wire::hex(++m_frame, 8) + "\n0000");
        }
        if (command.rfind("BX", 0) == 0) {
            return wire::binary("\x01\x0A\x02" + wire::le32(0x31) + wire::le32(++m_frame) +
                                wire::le16(0));
        }
        return wire::text("OKAY");
    }

private:
    unsigned m_frame = 0;
};

DevicePtr connectTo(const TcpPeer& peer) {
    DevicePtr device(deviceOpenNetwork("127.0.0.1", peer.port()));
    deviceSetNetworkTimeout(device.get(), 20000);
    return device;
}

} // namespace

TEST(ThreadMode, TrackingCommandsTakeTheNewestReply) {
    TcpPeer peer{Tracker()};
    const DevicePtr device = connectTo(peer);
    deviceSetThreadMode(device.get(), true);
    EXPECT_TRUE(deviceGetThreadMode(device.get()));
    deviceSetThreadMode(device.get(), true); // twice is once

    for (int round = 0; round < 3; ++round) {
        EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "OKAY");
        EXPECT_STREQ(deviceCommand(device.get(), "TSTART:"), "OKAY");
        std::uint32_t last = 0;
        for (int i = 0; i < 30; ++i) {
            deviceCommand(device.get(), "TX:%04X", i < 15 ? 0x0001u : 0x1001u);
            ASSERT_EQ(deviceGetError(device.get()), 0);
            const std::uint32_t frame = deviceTxFrameNumber(device.get(), 0x0A);
            EXPECT_GT(frame, last);
            last = frame;
        }
        // A command in between pauses the thread, the error path of it included.
        EXPECT_STREQ(deviceCommand(device.get(), "PINIT:01"), "OKAY");
        EXPECT_STREQ(deviceCommand(device.get(), "TSTART:"), "OKAY");
        deviceCommand(device.get(), "TX:0001");
        EXPECT_EQ(deviceGetError(device.get()), 0);
        EXPECT_STREQ(deviceCommand(device.get(), "TSTOP:"), "OKAY");
        const std::size_t before = peer.commands().size();
        EXPECT_STREQ(deviceCommand(device.get(), "PHSR:00"), "OKAY");
        EXPECT_EQ(peer.commands().size(), before + 1); // the thread is silent now
    }
    deviceSetThreadMode(device.get(), false);
    deviceSetThreadMode(device.get(), false);
    EXPECT_FALSE(deviceGetThreadMode(device.get()));
    deviceCommand(device.get(), "TX:0001");
    EXPECT_EQ(deviceGetError(device.get()), 0);
}

TEST(ThreadMode, SwitchedAndClosedInEveryState) {
    TcpPeer peer{Tracker()};
    for (int state = 0; state < 8; ++state) {
        const DevicePtr device = connectTo(peer);
        if ((state & 1) != 0) {
            deviceCommand(device.get(), "TSTART:");
        }
        deviceSetThreadMode(device.get(), true);
        if ((state & 2) != 0) {
            deviceCommand(device.get(), (state & 1) != 0 ? "TSTOP:" : "TSTART:");
        }
        deviceCommand(device.get(), "TX:0001");
        EXPECT_EQ(deviceGetError(device.get()), 0) << state;
        if ((state & 4) != 0) {
            deviceSetThreadMode(device.get(), false);
            deviceCommand(device.get(), "TX:0001");
            EXPECT_EQ(deviceGetError(device.get()), 0) << state;
        }
    }
}

TEST(ThreadMode, ReaderDoesNotStarveOtherCommands) {
    TcpPeer peer{Tracker()};
    const DevicePtr device = connectTo(peer);
    deviceSetThreadMode(device.get(), true);
    deviceCommand(device.get(), "TSTART:");
    deviceCommand(device.get(), "TX:0001");
    for (int i = 0; i < 101; ++i) {
        EXPECT_STREQ(deviceCommand(device.get(), "PINIT:01"), "OKAY");
    }
    // Exchanges of the thread between two such commands; single ones suffer from a busy machine.
    std::vector<int> between;
    int exchanges = 0;
    for (const std::string& command : peer.commands()) {
        if (command.rfind("PINIT", 0) == 0) {
            between.push_back(std::exchange(exchanges, 0));
        } else {
            ++exchanges;
        }
    }
    std::nth_element(between.begin(), between.begin() + 50, between.end());
    EXPECT_LE(between[50], 3);
}

TEST(ThreadMode, BinaryRepliesEndAtTheirFirstZero) {
    TcpPeer peer{Tracker()};
    const DevicePtr device = connectTo(peer);
    deviceSetThreadMode(device.get(), true);
    deviceCommand(device.get(), "TSTART:");
    deviceCommand(device.get(), "BX:0001");
    EXPECT_EQ(deviceGetError(device.get()), 0x100);
    EXPECT_EQ(device->BxHandleCount, 0);
}

TEST(ThreadMode, AnErrorEndsTheThreadAndIsReportedOnce) {
    Tracker tracker;
    std::atomic<bool> isWell = true;
    PtyPeer peer([&](const std::string& command) {
        return isWell || command.rfind("TX", 0) != 0 ? tracker(command) : Answer("ERROR0C\r");
    });
    DevicePtr device(deviceOpenSerial(peer.path()));
    ASSERT_TRUE(device);
    const std::thread::id here = std::this_thread::get_id();
    static std::atomic<int> foreignCalls;
    foreignCalls = 0;
    deviceSetErrorCallback(
        device.get(),
        [](std::int32_t, const char*, void* thread) {
            foreignCalls +=
                std::this_thread::get_id() == *static_cast<std::thread::id*>(thread) ? 0 : 1;
        },
        const_cast<std::thread::id*>(&here));
    deviceSetThreadMode(device.get(), true);
    deviceCommand(device.get(), "TSTART:");
    deviceCommand(device.get(), "TX:0001");
    EXPECT_EQ(deviceGetError(device.get()), 0);
    isWell = false;
    int replies = 0;
    while (deviceGetError(device.get()) == 0 && replies < 1000) {
        deviceCommand(device.get(), "TX:0001");
        ++replies;
    }
    EXPECT_EQ(deviceGetError(device.get()), 0x0C);
    deviceCommand(device.get(), "TX:0001");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
    // Other commands still work, and switching off and on brings the thread back.
    isWell = true;
    EXPECT_STREQ(deviceCommand(device.get(), "TSTOP:"), "OKAY");
    deviceSetThreadMode(device.get(), false);
    deviceSetThreadMode(device.get(), true);
    deviceCommand(device.get(), "TSTART:");
    deviceCommand(device.get(), "TX:0001");
    EXPECT_EQ(deviceGetError(device.get()), 0);
    EXPECT_EQ(foreignCalls, 0);
}

TEST(ThreadMode, ReaderLeavesSignalsToTheProgram) {
    static std::atomic<bool> isTaken;
    isTaken = false;
    signal(SIGINT, [](int) { isTaken = true; });
    TcpPeer peer{Tracker()};
    const DevicePtr device = connectTo(peer);
    deviceSetThreadMode(device.get(), true);
    deviceCommand(device.get(), "TSTART:");
    deviceCommand(device.get(), "TX:0001");
    // With the main thread deaf, only the reader could take it.
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    kill(getpid(), SIGINT);
    for (int i = 0; i < 20; ++i) {
        deviceCommand(device.get(), "TX:0001");
        EXPECT_EQ(deviceGetError(device.get()), 0);
    }
    EXPECT_FALSE(isTaken);
    pthread_sigmask(SIG_UNBLOCK, &interrupt, nullptr);
    EXPECT_TRUE(isTaken);
    signal(SIGINT, SIG_DFL);
}

#include "protocol/device.h"
#include "protocol/transport.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/ScriptedPeer.h"
#include "tests/protocol/Wire.h"
#include "tests/protocol/line_rate.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

using testing::AnyOf;
using Answer = ScriptedPeer::Answer;

namespace {

Answer okay(const std::string&) {
    return wire::text("OKAY");
}

termios settingsOf(const PtyPeer& peer) {
    termios settings = {};
    EXPECT_EQ(tcgetattr(peer.master(), &settings), 0);
    return settings;
}

bool areEqual(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && cfgetospeed(&a) == cfgetospeed(&b);
}

DevicePtr open(const PtyPeer& peer) {
    return DevicePtr(deviceOpenSerial(peer.path()));
}

} // namespace

TEST(SerialLine, OpensRawAndRestoresOnClose) {
    PtyPeer peer(okay);
    const termios before = settingsOf(peer);
    ASSERT_NE(before.c_lflag & ICANON, 0u);
    {
        const DevicePtr device = open(peer);
        ASSERT_TRUE(device);
        EXPECT_STREQ(device->deviceName, peer.path());
        EXPECT_EQ(device->tcpPort, -1);
        const termios now = settingsOf(peer);
        EXPECT_EQ(now.c_iflag, 0u);
        EXPECT_EQ(now.c_oflag & OPOST, 0u);
        EXPECT_EQ(now.c_lflag & (ECHO | ICANON | ISIG | IEXTEN), 0u);
        EXPECT_EQ(now.c_cflag & (CSIZE | CSTOPB | CRTSCTS | CREAD | CLOCAL), CS8 | CREAD | CLOCAL);
        EXPECT_EQ(cfgetospeed(&now), static_cast<speed_t>(B9600));
        deviceCommand(device.get(), "COMM:50001");
        EXPECT_FALSE(areEqual(before, settingsOf(peer)));
    }
    EXPECT_TRUE(areEqual(before, settingsOf(peer)));
}

TEST(SerialLine, EveryByteValuePassesBothWays) {
    std::string every;
    for (int i = 0; i < 256; ++i) {
        every += static_cast<char>(i);
    }
    const std::string reply = wire::binary(every);
    PtyPeer peer([&reply](const std::string&) { return Answer(reply); });
    const DevicePtr device = open(peer);
    ASSERT_TRUE(device);
    deviceCommand(device.get(), "VGET %s", "\x03\x04\x11\x13\x15\x1A\x7F\n\xFF");
    EXPECT_EQ(deviceGetError(device.get()), 0);
    EXPECT_EQ(std::string(device->rawReply, reply.size()), reply);
    EXPECT_EQ(peer.commands().at(0), "VGET \x03\x04\x11\x13\x15\x1A\x7F\n\xFF\r");
}

TEST(SerialLine, CommSwitchesTheHostSide) {
    PtyPeer peer(okay);
    const DevicePtr device = open(peer);
    ASSERT_TRUE(device);
    const struct {
        const char* command;
        unsigned rate;
        bool handshake, twoStopBits;
    } cases[] = {
        {"COMM:00000", 9600, false, false},   {"COMM:10000", 14400, false, false},
        {"COMM:20001", 19200, true, false},   {"COMM:30010", 38400, false, true},
        {"COMM:40000", 57600, false, false},  {"COMM:50001", 115200, true, false},
        {"COMM:60001", 921600, true, false},  {"COMM:70001", 19200, true, false},
        {"COMM:A0000", 230400, false, false}, {"COMM 50001", 115200, true, false},
        {"COMM:Z0000", 9600, false, false},   {"COMM", 9600, false, false},
    };
    for (const auto& [command, rate, handshake, twoStopBits] : cases) {
        deviceCommand(device.get(), "%s", command);
        EXPECT_EQ(deviceGetError(device.get()), 0) << command;
        const termios now = settingsOf(peer);
        EXPECT_EQ(lineRate(peer.master()), rate) << command;
        EXPECT_EQ((now.c_cflag & CRTSCTS) != 0, handshake) << command;
        EXPECT_EQ((now.c_cflag & CSTOPB) != 0, twoStopBits) << command;
    }
    EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "OKAY");
}

TEST(SerialLine, RefusedSettingsLeaveThePortAsItWas) {
    PtyPeer peer(okay);
    const std::intptr_t port = serialOpen(peer.path());
    ASSERT_NE(port, -1);
    ASSERT_EQ(serialSetLine(port, 57600, "8N1", false), 0);
    const termios before = settingsOf(peer);
    const struct {
        int baud;
        const char* format;
    } cases[] = {{4800, "8N1"}, {0, "8N1"},   {-9600, "8N1"}, {9600, "9N1"},  {9600, "8X1"},
                 {9600, "8N3"}, {9600, "8N"}, {9600, ""},     {9600, "8N11"}, {9600, nullptr}};
    for (const auto& [baud, format] : cases) {
        EXPECT_EQ(serialSetLine(port, baud, format, true), -1) << baud;
        EXPECT_TRUE(areEqual(before, settingsOf(peer))) << baud;
    }
    serialClose(port);
}

TEST(SerialLine, NamesStandForPaths) {
    PtyPeer peer(okay);
    EXPECT_EQ(serialAssignPort(2, peer.path()), 0);
    EXPECT_EQ(serialAssignPort(19, peer.path()), 0);
    for (const char* name : {"COM3", "\\\\.\\COM20"}) {
        const DevicePtr device(deviceOpenSerial(name));
        ASSERT_TRUE(device) << name;
        EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "OKAY");
    }
    for (const char* name :
         {"COM20", "com3", "", "\\\\.\\COM21", "/dev/null", "/no/such/port", "ttyUSB0", "/"}) {
        EXPECT_EQ(deviceOpenSerial(name), nullptr) << name;
    }
    EXPECT_EQ(deviceOpenSerial(nullptr), nullptr);
    EXPECT_EQ(serialAssignPort(20, peer.path()), -1);
    EXPECT_EQ(serialAssignPort(-1, peer.path()), -1);
    serialAssignPort(2, nullptr);
    serialAssignPort(19, "");
    EXPECT_EQ(deviceOpenSerial("COM3"), nullptr);
}

TEST(SerialLine, IsExclusiveWhileOpen) {
    PtyPeer peer(okay);
    {
        const DevicePtr device = open(peer);
        ASSERT_TRUE(device);
        EXPECT_EQ(deviceOpenSerial(peer.path()), nullptr);
        EXPECT_EQ(deviceProbePort(peer.path()), 0x200);
        // The refused ones have not disturbed it.
        EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "OKAY");
    }
    EXPECT_TRUE(open(peer));
    const int other = ::open(peer.path(), O_RDWR | O_NOCTTY);
    EXPECT_GE(other, 0); // free for other programs again
    ::close(other);
}

TEST(SerialLine, DropsWhatWasThereBefore) {
    PtyPeer peer(okay);
    const DevicePtr device = open(peer);
    ASSERT_TRUE(device);
    peer.send("late reply\r");
    pollfd waiting = {static_cast<int>(device->serialPort), POLLIN, 0};
    ASSERT_EQ(poll(&waiting, 1, 20000), 1);
    EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "OKAY");
}

TEST(SerialLine, DeviceErrorsCountWithoutTheirCrc) {
    const struct {
        const char* command;
        std::string raw;
        std::int32_t error;
        std::vector<std::int32_t> told;
    } cases[] = {
        {"PINIT:01", "ERROR0D\r", 0x0D, {0x0D}},
        {"PINIT:01", wire::text("ERROR2b"), 0x2B, {0x2B}},
        {"BX:0001", "ERROR0CFFFF\r", 0x0C, {0x0C}},
        {"PHSR:00", wire::text("ERROR00"), 0, {0}},
        {"PHSR:00", "ERROR00\r", 0x100, {0x100}}, // no error, so its CRC counts
        {"PHSR:00", "ERR\r", 0x100, {0x100}},
    };
    PtyPeer peer(okay);
    const DevicePtr device = open(peer);
    ASSERT_TRUE(device);
    for (const auto& each : cases) {
        ErrorLog errors;
        errors.listenTo(device.get());
        peer.alwaysAnswer(each.raw);
        deviceCommand(device.get(), "%s", each.command);
        EXPECT_EQ(deviceGetError(device.get()), each.error) << each.raw;
        EXPECT_EQ(errors.codes, each.told) << each.raw;
    }
}

TEST(SerialLine, SilenceIsATimeoutWhateverSignalsCome) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    PtyPeer peer([](const std::string& command) {
        return command == "INIT:E3A5\r" ? okay(command) : Answer("OKA");
    });
    const DevicePtr device = open(peer);
    ASSERT_TRUE(device);
    std::atomic<bool> goesOn = true;
    std::thread storm([&goesOn, target = pthread_self()] {
        while (goesOn) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "OKAY");
    EXPECT_EQ(serialSetTimeout(device->serialPort, 200), 0);
    deviceCommand(device.get(), "PHSR:00"); // stalls half-way
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
    goesOn = false;
    storm.join();
    signal(SIGUSR1, SIG_DFL);
}

TEST(SerialLine, UnpluggedDeviceIsAnErrorAtOnce) {
    auto peer = std::make_unique<PtyPeer>(okay);
    DevicePtr device = open(*peer);
    ASSERT_TRUE(device);
    EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "OKAY");
    std::thread puller([&peer] { peer->unplug(); });
    for (int i = 0; i < 50; ++i) { // some of them while it goes
        deviceCommand(device.get(), "PHSR:00");
        EXPECT_THAT(deviceGetError(device.get()), AnyOf(0, 0x100, 0x400, 0x500, 0x600));
    }
    puller.join();
    deviceCommand(device.get(), "PHSR:00");
    EXPECT_EQ(deviceGetError(device.get()), 0x500);
    EXPECT_EQ(serialSetLine(device->serialPort, 9600, "8N1", false), -1);
    EXPECT_FALSE(serialDsrPresent(device->serialPort));
    device.reset();
    EXPECT_EQ(deviceOpenSerial(peer->path()), nullptr);
}

TEST(SerialLine, FifthPortWorksButIsNotRestored) {
    std::vector<std::unique_ptr<PtyPeer>> peers;
    std::vector<DevicePtr> devices;
    std::vector<termios> before;
    for (int i = 0; i < 5; ++i) {
        peers.push_back(std::make_unique<PtyPeer>(okay));
        before.push_back(settingsOf(*peers.back()));
        devices.push_back(open(*peers.back()));
        ASSERT_TRUE(devices.back());
        EXPECT_STREQ(deviceCommand(devices.back().get(), "INIT:"), "OKAY");
    }
    for (std::size_t i = 0; i < 5; ++i) {
        devices[i].reset();
        EXPECT_EQ(areEqual(before[i], settingsOf(*peers[i])), i < 4) << i;
    }
}

TEST(Probe, RealLineThatAnswers) {
    PtyPeer peer([](const std::string& command) {
        return command.rfind("GETINFO", 0) == 0 ? Answer(wire::text("Features.Firmware.Version=1"))
                                                : okay(command);
    });
    const termios before = settingsOf(peer);
    EXPECT_EQ(deviceProbePort(peer.path()), 0);
    EXPECT_EQ(peer.commands(),
              (std::vector<std::string>{"INIT:E3A5\r", "GETINFO:Features.Firmware.Version0492\r"}));
    EXPECT_TRUE(areEqual(before, settingsOf(peer)));
    EXPECT_TRUE(open(peer));
}

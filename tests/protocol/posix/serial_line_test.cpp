#include "protocol/transport.h"
#include "tests/protocol/Connection.h"
#include "tests/protocol/posix/SignalStorm.h"
#include "tests/protocol/posix/line_rate.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

using testing::AnyOf;

namespace {

termios settingsOf(const ScriptedPeer& peer) {
    termios settings = {};
    EXPECT_EQ(tcgetattr(peer.master(), &settings), 0);
    return settings;
}

bool areEqual(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag;
}

class SerialLine : public Connection {
protected:
    SerialLine() : Connection(ScriptedPeer::Kind::pty) {}

    const termios before = settingsOf(peer);
};

} // namespace

TEST_F(SerialLine, OpensRawAndRestoresOnClose) {
    ASSERT_NE(before.c_lflag & ICANON, 0u);
    EXPECT_STREQ(device->deviceName, peer.path());
    EXPECT_EQ(device->tcpPort, -1);
    const termios now = settingsOf(peer);
    EXPECT_EQ(now.c_iflag, 0u);
    EXPECT_EQ(now.c_oflag & OPOST, 0u);
    EXPECT_EQ(now.c_lflag & (ECHO | ICANON | ISIG | IEXTEN), 0u);
    EXPECT_EQ(now.c_cflag & (CSIZE | CSTOPB | CRTSCTS | CREAD | CLOCAL), CS8 | CREAD | CLOCAL);
    EXPECT_EQ(lineRate(peer.master()), 9600u);
    EXPECT_EQ(errorOf("COMM:50001"), 0);
    device.reset();
    EXPECT_TRUE(areEqual(before, settingsOf(peer)));
    peer.setScript([](const std::string& command) {
        return wire::text(command.starts_with("GETINFO") ? "Features.Firmware.Version=1" : "OKAY");
    });
    EXPECT_EQ(deviceProbePort(peer.path()), 0);
    EXPECT_TRUE(areEqual(before, settingsOf(peer)));
}

TEST_F(SerialLine, CommSwitchesTheHostSide) {
    const std::tuple<const char*, unsigned, bool, bool> cases[] = {
        {"COMM:00000", 9600, false, false},   {"COMM:10000", 14400, false, false},
        {"COMM:20001", 19200, true, false},   {"COMM:30010", 38400, false, true},
        {"COMM:40000", 57600, false, false},  {"COMM:50001", 115200, true, false},
        {"COMM:60001", 921600, true, false},  {"COMM:70001", 19200, true, false},
        {"COMM:A0000", 230400, false, false}, {"COMM:Z0000", 9600, false, false},
        {"COMM 50001", 115200, true, false},  {"COMM", 9600, false, false},
    };
    for (const auto& [command, rate, handshake, twoStopBits] : cases) {
        EXPECT_EQ(errorOf(command), 0) << command;
        const termios now = settingsOf(peer);
        EXPECT_EQ(lineRate(peer.master()), rate) << command;
        EXPECT_EQ((now.c_cflag & CRTSCTS) != 0, handshake) << command;
        EXPECT_EQ((now.c_cflag & CSTOPB) != 0, twoStopBits) << command;
    }
}

TEST_F(SerialLine, UnknownSettingsLeaveThePortAsItWas) {
    ASSERT_EQ(serialSetLine(device->serialPort, 57600, "8N1", false), 0);
    const termios known = settingsOf(peer);
    const std::pair<int, const char*> cases[] = {
        {4800, "8N1"}, {0, "8N1"},   {-9600, "8N1"}, {9600, "9N1"},  {9600, "8X1"},
        {9600, "8N3"}, {9600, "8N"}, {9600, ""},     {9600, "8N11"}, {9600, nullptr}};
    for (const auto& [baud, format] : cases) {
        EXPECT_EQ(serialSetLine(device->serialPort, baud, format, true), -1) << baud;
        EXPECT_TRUE(areEqual(known, settingsOf(peer)) && lineRate(peer.master()) == 57600) << baud;
    }
}

TEST_F(SerialLine, NamesStandForPaths) {
    for (const auto& [index, expected] :
         {std::pair{2, "COM3"}, {8, "COM9"}, {9, "\\\\.\\COM10"}, {19, "\\\\.\\COM20"}}) {
        EXPECT_EQ(serialAssignPort(index, peer.path()), 0);
        const std::string name = devicePortName(index);
        EXPECT_EQ(name, expected);
        device.reset();
        device.reset(deviceOpenSerial(devicePortName(index))); // from the buffer itself
        ASSERT_TRUE(device) << name;
        EXPECT_EQ(device->deviceName, name);
        EXPECT_EQ(errorOf("INIT:"), 0);
    }
    device.reset();
    for (const char* name :
         {"COM20", "com3", "", "\\\\.\\COM21", "/dev/null", "/no/such/port", "ttyUSB0", "/"}) {
        EXPECT_EQ(deviceOpenSerial(name), nullptr) << name;
    }
    EXPECT_EQ(deviceOpenSerial(nullptr), nullptr);
    EXPECT_EQ(serialAssignPort(20, peer.path()), -1);
    EXPECT_EQ(serialAssignPort(-1, peer.path()), -1);
    EXPECT_EQ(devicePortName(-1), nullptr);
    serialAssignPort(2, nullptr);
    EXPECT_EQ(deviceOpenSerial("COM3"), nullptr);
}

TEST_F(SerialLine, IsExclusiveWhileOpen) {
    EXPECT_EQ(deviceOpenSerial(peer.path()), nullptr);
    EXPECT_EQ(deviceProbePort(peer.path()), 0x200);
    EXPECT_EQ(errorOf("INIT:"), 0); // the refused ones have not disturbed it
    device.reset();
    connect();
    device.reset();
    const int other = open(peer.path(), O_RDWR | O_NOCTTY); // the superuser always may: ask
    int isExclusive = 1;
    EXPECT_EQ(ioctl(other, TIOCGEXCL, &isExclusive), 0);
    EXPECT_EQ(isExclusive, 0);
    close(other);
}

TEST_F(SerialLine, DeviceErrorsCountWithoutTheirCrc) {
    const std::tuple<const char*, std::string, std::int32_t> cases[] = {
        {"PINIT:01", "ERROR0D\r", 0x0D},    {"PINIT:01", wire::text("ERROR2b"), 0x2B},
        {"BX:0001", "ERROR0CFFFF\r", 0x0C}, {"PHSR:00", wire::text("ERROR00"), 0},
        {"PHSR:00", "ERROR00\r", 0x100}, // no error, so its CRC counts
        {"PHSR:00", "ERR\r", 0x100},
    };
    for (const auto& [command, raw, error] : cases) {
        ErrorLog errors;
        errors.listenTo(device.get());
        peer.alwaysAnswer(raw);
        EXPECT_EQ(errorOf(command), error) << raw;
        EXPECT_EQ(errors.codes, std::vector{error}) << raw;
    }
}

TEST_F(SerialLine, TextThatCannotBeFormattedIsNotSent) {
    deviceCommand(device.get(), "PENA:0A%lc", std::wint_t{0xD800}); // no character
    EXPECT_EQ(peer.commands(), std::vector<std::string>{"\r"});
}

TEST_F(SerialLine, SilenceIsATimeoutWhateverSignalsCome) {
    const SignalStorm storm;
    EXPECT_EQ(errorOf("INIT:"), 0);
    peer.alwaysAnswer("OKA"); // stalls half-way
    EXPECT_EQ(serialSetTimeout(device->serialPort, 200), 0);
    EXPECT_EQ(errorOf("PHSR:00"), 0x400);
    deviceCommand(device.get(), nullptr); // breaks, but nobody reports a reset
    EXPECT_EQ(deviceGetError(device.get()), 0x700);
}

TEST_F(SerialLine, UnpluggedDeviceIsAnErrorAtOnce) {
    EXPECT_EQ(errorOf("INIT:"), 0);
    std::thread puller([this] { peer.unplug(); });
    for (int i = 0; i < 50; ++i) { // some of them while it goes
        EXPECT_THAT(errorOf("PHSR:00"), AnyOf(0, 0x100, 0x400, 0x500, 0x600));
    }
    puller.join();
    EXPECT_EQ(errorOf("PHSR:00"), 0x500);
    EXPECT_EQ(serialSetLine(device->serialPort, 9600, "8N1", false), -1);
    EXPECT_FALSE(serialDsrPresent(device->serialPort));
    device.reset();
    EXPECT_EQ(deviceOpenSerial(peer.path()), nullptr);
}

TEST_F(SerialLine, AnErrorEndsTheReaderThread) {
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
    peer.setScript([](const std::string& command) {
        return command.starts_with("TX") ? "ERROR0C\r" : track(command);
    });
    std::int32_t error = 0;
    for (int i = 0; i < 1000 && error == 0; ++i) {
        error = errorOf("TX:0001");
    }
    EXPECT_EQ(error, 0x0C);
    // Handed over while the reply before it was being taken, the error is read twice.
    error = errorOf("TX:0001");
    EXPECT_EQ(error == 0x0C ? errorOf("TX:0001") : error, 0x400);
    // Other commands still work, and switching off and on brings the thread back.
    peer.setScript(track);
    EXPECT_EQ(errorOf("TSTOP:"), 0);
    deviceSetThreadMode(device.get(), false);
    deviceSetThreadMode(device.get(), true);
    EXPECT_EQ(errorOf("TSTART:"), 0);
    EXPECT_EQ(errorOf("TX:0001"), 0);
    EXPECT_EQ(foreignCalls, 0);
}

#include "protocol/platform/posix/port_paths.h"
#include "protocol/transport.h"
#include "tests/protocol/Connection.h"
#include "tests/protocol/posix/SignalStorm.h"
#include "tests/protocol/posix/Terminal.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <termios.h>

namespace {

bool areEqual(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
           a.c_lflag == b.c_lflag && cfgetospeed(&a) == cfgetospeed(&b);
}

class SerialLine : public Connection {
protected:
    SerialLine() : Connection(atTerminal()) {
        before = settings();
        before.c_iflag |= ICRNL | IXON;
        before.c_oflag |= OPOST;
        before.c_lflag |= ECHO | ICANON | ISIG | IEXTEN;
        EXPECT_EQ(tcsetattr(own, TCSANOW, &before), 0);
    }
    ~SerialLine() override { close(own); }

    termios settings() const { return settingsOf(own); }
    static termios settingsOf(int end) {
        termios found = {};
        EXPECT_EQ(tcgetattr(end, &found), 0);
        return found;
    }

    const std::string path = simulator.address();
    const int own = open(path.c_str(), O_RDWR | O_NOCTTY); // the host's end, before it is exclusive
    termios before;
};

} // namespace

TEST_F(SerialLine, OpensRawAndRestoresOnClose) {
    EXPECT_EQ(device->deviceName, path);
    EXPECT_EQ(device->tcpPort, -1);
    const termios now = settings();
    EXPECT_EQ(now.c_iflag, 0u);
    EXPECT_EQ(now.c_oflag & OPOST, 0u);
    EXPECT_EQ(now.c_lflag & (ECHO | ICANON | ISIG | IEXTEN), 0u);
    EXPECT_EQ(now.c_cflag & (CSIZE | CSTOPB | CRTSCTS | CREAD | CLOCAL), CS8 | CREAD | CLOCAL);
    expectGood({"INIT:", "COMM:50001"});
    device.reset();
    EXPECT_TRUE(areEqual(before, settings()));
    // The device does not hear what is asked at 9600 baud until it is reset.
    EXPECT_EQ(deviceProbePort(path.c_str()), 0);
    EXPECT_TRUE(areEqual(before, settings()));
}

// The device hears its host only at its own rate and handshake.
TEST_F(SerialLine, FollowsTheDeviceToEverySpeed) {
    for (const char* command :
         {"COMM:10000", "COMM:20001", "COMM:30010", "COMM:40000", "COMM:50001", "COMM:60001",
          "COMM:70001", "COMM:A0000", "COMM 50001", "COMM:00000"}) {
        expectGood({command, "VER:0"});
        EXPECT_EQ((settings().c_cflag & CSTOPB) != 0, command[8] == '1') << command;
        EXPECT_NE(settings().c_cflag & CLOCAL, 0u) << command;
    }
}

TEST_F(SerialLine, UnknownSettingsLeaveThePortAsItWas) {
    ASSERT_EQ(serialSetLine(device->serialPort, 57600, "8N1", false), 0);
    const termios known = settings();
    const std::pair<int, const char*> cases[] = {
        {4800, "8N1"}, {0, "8N1"},   {-9600, "8N1"}, {9600, "9N1"},  {9600, "8X1"},
        {9600, "8N3"}, {9600, "8N"}, {9600, ""},     {9600, "8N11"}, {9600, nullptr}};
    for (const auto& [baud, format] : cases) {
        EXPECT_EQ(serialSetLine(device->serialPort, baud, format, true), -1) << baud;
        EXPECT_TRUE(areEqual(known, settings())) << baud;
    }
}

TEST_F(SerialLine, NamesStandForPaths) {
    for (const auto& [index, expected] :
         {std::pair{2, "COM3"}, {8, "COM9"}, {9, "\\\\.\\COM10"}, {19, "\\\\.\\COM20"}}) {
        EXPECT_EQ(serialAssignPort(index, path.c_str()), 0);
        device.reset();
        device.reset(deviceOpenSerial(devicePortName(index))); // from the buffer itself
        ASSERT_TRUE(device) << expected;
        EXPECT_STREQ(device->deviceName, expected);
        EXPECT_EQ(errorOf("INIT:"), 0);
    }
    device.reset();
    for (const char* name : {"com3", "", "\\\\.\\COM21", "/no/such/port", "ttyUSB0", "/"}) {
        EXPECT_EQ(deviceOpenSerial(name), nullptr) << name;
    }
    EXPECT_EQ(deviceOpenSerial(nullptr), nullptr);
    EXPECT_EQ(serialAssignPort(20, path.c_str()), -1);
    EXPECT_EQ(serialAssignPort(-1, path.c_str()), -1);
    EXPECT_EQ(devicePortName(-1), nullptr);
    for (const int index : {2, 9}) {
        serialAssignPort(index, nullptr);
    }
    EXPECT_EQ(protocol::platform::portPath("COM3"), "/dev/ttyUSB2");
    EXPECT_EQ(protocol::platform::portPath("\\\\.\\COM10"), "/dev/ttyUSB9");
    EXPECT_EQ(protocol::platform::portPath("\\\\.\\COM11"), "/dev/ttyS0");
}

TEST_F(SerialLine, IsExclusiveWhileOpen) {
    int isExclusive = 0; // the superuser always may open it: ask
    EXPECT_EQ(ioctl(own, TIOCGEXCL, &isExclusive), 0);
    EXPECT_EQ(isExclusive, 1);
    EXPECT_EQ(deviceOpenSerial(path.c_str()), nullptr);
    EXPECT_EQ(deviceProbePort(path.c_str()), 0x200);
    EXPECT_EQ(errorOf("INIT:"), 0); // the refused ones have not disturbed it
    device.reset();
    EXPECT_EQ(ioctl(own, TIOCGEXCL, &isExclusive), 0);
    EXPECT_EQ(isExclusive, 0);
}

TEST_F(SerialLine, KeepsTheSettingsOfPortsOfSeveralThreads) {
    const auto use = [](const char* line) {
        const int end = open(line, O_RDWR | O_NOCTTY);
        const termios found = settingsOf(end);
        for (int i = 0; i < 300; ++i) {
            const std::intptr_t port = serialOpen(line);
            std::this_thread::sleep_for(std::chrono::microseconds(100)); // let the other one in
            serialClose(port);
            EXPECT_TRUE(areEqual(found, settingsOf(end)));
        }
        close(end);
    };
    device.reset();
    auto options = atTerminal();
    options.address = ndisim::PtyAddress{path + "_other"};
    ndisim::Simulator other(options);
    other.start();
    std::thread thread([&] { use(other.address().c_str()); });
    use(path.c_str());
    thread.join();
}

TEST_F(SerialLine, DeviceErrorsCountWithoutTheirCrc) {
    const std::tuple<const char*, std::string, std::int32_t> cases[] = {
        {"PINIT:01", "ERROR0D\r", 0x0D},    {"PINIT:01", ndisim::withCrc("ERROR2b"), 0x2B},
        {"BX:0001", "ERROR0CFFFF\r", 0x0C}, {"PHSR:00", ndisim::withCrc("ERROR00"), 0},
        {"PHSR:00", "ERROR00\r", 0x100}, // no error, so its CRC counts
        {"PHSR:00", "ERR\r", 0x100},
    };
    for (const auto& [command, raw, error] : cases) {
        ErrorLog errors;
        errors.listenTo(device.get());
        alwaysAnswer(raw);
        EXPECT_EQ(errorOf(command), error) << raw;
        EXPECT_EQ(errors.codes, std::vector{error}) << raw;
    }
}

TEST_F(SerialLine, SilenceIsATimeoutWhateverSignalsCome) {
    const SignalStorm storm;
    EXPECT_EQ(errorOf("INIT:"), 0);
    simulator.addFault("cut=3"); // stalls half-way
    EXPECT_EQ(serialSetTimeout(device->serialPort, 200), 0);
    EXPECT_EQ(errorOf("PHSR:00"), 0x400);
    deviceCommand(device.get(), nullptr); // breaks, but nobody reports a reset
    EXPECT_EQ(deviceGetError(device.get()), 0x700);
}

TEST_F(SerialLine, UnpluggedDeviceIsAnErrorAtOnce) {
    EXPECT_EQ(errorOf("INIT:"), 0);
    std::thread puller([this] { simulator.unplug(); });
    for (int i = 0; i < 50; ++i) { // some of them while it goes
        EXPECT_THAT(errorOf("PHSR:00"), testing::AnyOf(0, 0x100, 0x400, 0x500, 0x600));
    }
    puller.join();
    EXPECT_EQ(errorOf("PHSR:00"), 0x500);
    EXPECT_EQ(serialSetLine(device->serialPort, 9600, "8N1", false), -1);
    EXPECT_FALSE(serialDsrPresent(device->serialPort));
    device.reset();
    EXPECT_EQ(deviceOpenSerial(path.c_str()), nullptr);
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
    expectGood(kStartTracking);
    expectGood({"TX:0001"});
    simulator.addFault("error=0D@TX");
    std::int32_t error = 0;
    for (int i = 0; i < 1000 && error == 0; ++i) {
        error = errorOf("TX:0001");
    }
    EXPECT_EQ(error, 0x0D);
    // Handed over while the reply before it was being taken, the error is read twice.
    error = errorOf("TX:0001");
    EXPECT_EQ(error == 0x0D ? errorOf("TX:0001") : error, 0x400);
    // Other commands still work, and switching off and on brings the thread back.
    simulator.clearFaults();
    expectGood({"TSTOP:"});
    deviceSetThreadMode(device.get(), false);
    deviceSetThreadMode(device.get(), true);
    expectGood({"TSTART:", "TX:0001"});
    EXPECT_EQ(foreignCalls, 0);
}

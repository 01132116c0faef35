#include "protocol/port_condition.h"
#include "tests/windows/TestDevice.h"

#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <windows.h>

using namespace testdevice;
using testing::AnyOf;
using testing::HasSubstr;

namespace {

// Rate, format and time-outs of a port while nobody else has it.
struct Settings {
    DCB line = {};
    COMMTIMEOUTS timeouts = {};

    bool operator==(const Settings& other) const {
        return std::memcmp(&line, &other.line, sizeof(line)) == 0 &&
               std::memcmp(&timeouts, &other.timeouts, sizeof(timeouts)) == 0;
    }
};

// A handle of the test's own. Time-outs belong to the handle's port while one is open, so it stays.
class Watcher {
public:
    Watcher() :
        m_handle(CreateFileA(comName().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr)) {}
    ~Watcher() { CloseHandle(m_handle); }

    Settings settings() const { return settingsOf(m_handle); }

    static Settings settingsOf(HANDLE handle) {
        Settings found;
        found.line.DCBlength = sizeof(found.line);
        EXPECT_TRUE(GetCommState(handle, &found.line));
        EXPECT_TRUE(GetCommTimeouts(handle, &found.timeouts));
        return found;
    }

    void set(Settings settings) const { EXPECT_TRUE(SetCommState(m_handle, &settings.line)); }

private:
    HANDLE m_handle;
};

std::string traced() {
    std::ifstream file(environment("MORVALIN_TEST_TRACE"));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

HANDLE handleOf(const DeviceRecord& device) {
    return reinterpret_cast<HANDLE>(device.serialPort);
}

} // namespace

// The device hears its host only at its own rate and handshake: every answer proves that the port
// has followed.
TEST(Serial, FollowsTheDeviceToEverySpeed) {
    const RecordPtr device = openSerial();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->deviceName, comName());
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
    for (const char* const speed :
         {"20001", "30000", "40001", "50001", "60000", "A0000", "70001", "00000"}) {
        EXPECT_EQ(ask(*device, (std::string("COMM:") + speed).c_str()), "OKAY") << speed;
        EXPECT_THAT(ask(*device, "VER:0"), HasSubstr("Firmware")) << speed;
    }
}

TEST(Serial, AppliesItsOwnSettings) {
    const RecordPtr device = openSerial();
    ASSERT_NE(device, nullptr);
    const Settings opened = Watcher::settingsOf(handleOf(*device));
    EXPECT_EQ(opened.line.BaudRate, 9600u);
    EXPECT_FALSE(opened.line.fOutX || opened.line.fInX || opened.line.fOutxDsrFlow ||
                 opened.line.fOutxCtsFlow || opened.line.fAbortOnError);
    EXPECT_EQ(opened.timeouts.ReadIntervalTimeout, MAXDWORD);
    EXPECT_EQ(opened.timeouts.ReadTotalTimeoutMultiplier, MAXDWORD);
    EXPECT_EQ(opened.timeouts.ReadTotalTimeoutConstant, 400u);
    EXPECT_EQ(opened.timeouts.WriteTotalTimeoutConstant, 400u);
    EXPECT_EQ(opened.timeouts.WriteTotalTimeoutMultiplier, 2u);

    const struct {
        int baud;
        const char* format;
        bool handshake;
        int result;
        DWORD baudAfter;
    } cases[] = {
        {115200, "8N1", true, 0, 115200}, {1228739, "8N1", false, 0, 19200},
        {4800, "8N1", true, -1, 19200},   {9600, "9N1", true, -1, 19200},
        {9600, "8N1x", true, -1, 19200},  {230400, "8N2", true, 0, 230400},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(serialSetLine(device->serialPort, each.baud, each.format, each.handshake),
                  each.result);
        const Settings found = Watcher::settingsOf(handleOf(*device));
        EXPECT_EQ(found.line.BaudRate, each.baudAfter) << each.baud << each.format;
        if (each.result == 0) {
            EXPECT_EQ(found.line.fOutxCtsFlow != 0, each.handshake) << each.baud;
        }
    }
}

TEST(Serial, PutsBackWhatItFound) {
    const Watcher watcher;
    Settings before = watcher.settings();
    before.line.BaudRate = 57600;
    before.line.fOutxCtsFlow = TRUE;
    watcher.set(before);
    before = watcher.settings();
    {
        const RecordPtr device = openSerial();
        ASSERT_NE(device, nullptr);
        EXPECT_FALSE(watcher.settings() == before);
    }
    EXPECT_TRUE(watcher.settings() == before);
}

TEST(Serial, RefusesWhatIsNoPort) {
    for (const char* const name :
         {"COM9", "\\\\.\\COM20", "", "nonsense", "C:\\windows\\win.ini"}) {
        EXPECT_EQ(deviceOpenSerial(name), nullptr) << name;
        EXPECT_EQ(deviceProbePort(name), 0x200) << name;
    }
    const auto condition = [](const std::string& name) {
        return protocol::platform::inspectPort(name.c_str()).condition;
    };
    EXPECT_EQ(condition("COM9"), protocol::PortCondition::missing);
    EXPECT_EQ(condition("C:\\windows\\win.ini"), protocol::PortCondition::notSerial);
    EXPECT_EQ(condition(comName()), protocol::PortCondition::free);
    EXPECT_EQ(deviceOpenSerial(nullptr), nullptr);
    EXPECT_EQ(serialAssignPort(19, "/nonexistent/port"), 0);
    EXPECT_EQ(serialAssignPort(20, "/nonexistent/port"), -1);
}

// Pseudo-terminals have no modem signals, and under Windows a port without DSR has no device.
TEST(Serial, ProbeWritesNothingWithoutDsr) {
    EXPECT_EQ(deviceProbePort(comName().c_str()), 0x800);
    EXPECT_THAT(traced(), testing::Not(HasSubstr("INIT")));
}

// The device answers the break with its banner and is back at 9600 baud.
TEST(Serial, BreakResetsTheDevice) {
    const RecordPtr device = openSerial();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
    EXPECT_EQ(ask(*device, "COMM:50001"), "OKAY");
    serialSetLine(device->serialPort, 38400, "8N1", false);
    deviceCommand(device.get(), "INIT:");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);

    serialSetTimeout(device->serialPort, 3000);
    EXPECT_STREQ(deviceCommand(device.get(), nullptr), "RESET");
    EXPECT_EQ(deviceGetError(device.get()), 0);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
}

// The device answers APIREV with bytes that lines like to treat as their own; they are no reply.
TEST(Serial, ControlBytesPassUnchanged) {
    const RecordPtr device = openSerial();
    ASSERT_NE(device, nullptr);
    const std::string sent("\x00\x03\x04\x08\x0A\x11\x13\x15\x1A\x1C\x7F\x80\xFF\x0D", 14);
    deviceCommand(device.get(), "APIREV:");
    EXPECT_EQ(deviceGetError(device.get()), 0x100);
    EXPECT_EQ(std::string(device->rawReply, sent.size()), sent);
}

// The line goes away at the second VER, as when its adapter is pulled out, and comes back.
TEST(SerialFault, APulledAdapterIsAnErrorOfEveryCommand) {
    RecordPtr device = openSerial();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
    EXPECT_NE(ask(*device, "VER:0"), "");
    for (int i = 0; i < 4; ++i) {
        deviceCommand(device.get(), "VER:4");
        EXPECT_THAT(deviceGetError(device.get()), AnyOf(0x400, 0x500, 0x600));
    }
    EXPECT_FALSE(deviceCommand(device.get(), nullptr) == nullptr);
    EXPECT_EQ(deviceGetError(device.get()), 0x700);
    device.reset();

    for (int tries = 0; tries < 100 && !device; ++tries) {
        serialSleep(100);
        device = openSerial();
    }
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
}

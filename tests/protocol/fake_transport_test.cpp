#include "protocol/device.h"
#include "protocol/transport.h"
#include "tests/protocol/FakePlatform.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/Wire.h"

#include <gtest/gtest.h>

using Fault = FakePlatform::Fault;
using Writes = std::deque<FakePlatform::Write>;

namespace {

RecordPtr open(bool serial) {
    fake = {};
    RecordPtr device(serial ? deviceOpenSerial("COM3") : deviceOpenNetwork("host", 8765));
    fake.log.clear();
    return device;
}

} // namespace

TEST(Transport, OpensInOrderAndClosesWhatItCannotUse) {
    const std::string serial = "open, capture, queues 3200, raw, timeouts 5000+2, line 9600 8N1, ";
    const std::string socket = "start, socket, nodelay, ";
    const std::tuple<bool, const char*, std::string> cases[] = {
        {true, "", serial + "purge rt, purge t, restore, close"},
        {true, "line", serial + "purge t, restore, close"},
        {false, "start", "start"},
        {false, "socket", "start, socket"},
        {false, "nodelay", "start, socket, nodelay, close"},
        {false, "resolve", socket + "resolve, close"},
        {false, "connect", socket + "resolve, connect, close"},
        {false, "", socket + "resolve, connect, close"},
    };
    for (const auto& [isSerial, failing, log] : cases) {
        fake = {};
        fake.failing = failing;
        DeviceRecord* device =
            isSerial ? deviceOpenSerial("COM3") : deviceOpenNetwork("host", 8765);
        EXPECT_EQ(device == nullptr, *failing != '\0');
        deviceCloseSerial(device);
        EXPECT_EQ(fake.log, log);
    }
}

TEST(Transport, FourSlotsForTheSettingsOfPorts) {
    fake = {};
    fake.failing = "timeouts";
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(serialOpen("COM3"), -1); // gives its slot back
    }
    fake.failing.clear();
    std::intptr_t ports[5];
    for (std::intptr_t& port : ports) {
        port = serialOpen("COM3");
    }
    serialClose(ports[1]);
    ports[1] = serialOpen("COM3"); // takes the slot that became free
    fake.log.clear();
    for (const int i : {4, 0, 1, 2, 3}) { // the fifth never had one
        serialClose(ports[i]);
    }
    EXPECT_EQ(fake.log,
              "purge t, close, purge t, restore, close, purge t, restore, close, purge t, "
              "restore, close, purge t, restore, close");
}

TEST(Transport, ShortAndBrokenWrites) {
    const std::tuple<Writes, int, int> cases[] = {
        {{{3, Fault::none}, {4, Fault::none}}, 10, 10},
        {{{3, Fault::none}, {0, Fault::none}}, 3, 3},
        {{{3, Fault::none}, {0, Fault::failed}}, -1, -1},
        {{{3, Fault::aborted}, {0, Fault::aborted}}, 10, -1},
        {Writes(100000, {0, Fault::aborted}), 0, -1},
    };
    for (const auto& [writes, serial, net] : cases) {
        fake = {};
        fake.writes = writes;
        EXPECT_EQ(serialWrite(100, "0123456789", 10), serial);
        fake.writes = writes;
        EXPECT_EQ(netWrite(7, "0123456789", 10), net);
    }
    EXPECT_EQ(serialWrite(100, "0123456789", 0) + serialWrite(100, "0123456789", -1), 0);
}

TEST(Channel, TransportFaultsBecomeCodes) {
    const std::tuple<FakePlatform::Read, FakePlatform::Write, std::int32_t> cases[] = {
        {{"OKAYA896\r"}, {99, Fault::none}, 0},
        {{""}, {99, Fault::none}, 0x400},
        {{"OKAYA896\r"}, {0, Fault::none}, 0x400},
        {{"OKAYA896\r"}, {0, Fault::failed}, 0x500},
        {{"OKAY", Fault::failed, 5}, {99, Fault::none}, 0x600},
    };
    for (const bool serial : {true, false}) {
        for (const auto& [read, write, error] : cases) {
            const RecordPtr device = open(serial);
            fake.reads = {read};
            fake.writes = {write};
            deviceCommand(device.get(), "PHSR:00");
            EXPECT_EQ(deviceGetError(device.get()), error);
            EXPECT_TRUE(fake.log.starts_with(serial ? "purge r, write" : "discard, write"));
            // After a write that failed nobody waits for an answer.
            EXPECT_EQ(fake.reads.empty(), write.first != 0);
        }
    }
    const RecordPtr device = open(false);
    fake.failing = "discard"; // a peer that never stops sending
    fake.reads = {{"OKAYA896\r"}};
    deviceCommand(device.get(), "PHSR:00");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
    EXPECT_EQ(fake.log.find("write"), std::string::npos);
}

TEST(Channel, PausesAndLineSettingsBehindGoodReplies) {
    const std::string okay = ndisim::withCrc("OKAY");
    const std::tuple<bool, const char*, std::string, const char*> cases[] = {
        {true, "INIT:", okay, ", sleep 100"},
        {false, "INIT:", okay, ", sleep 100"},
        {true, "INIT:", ndisim::withCrc("ERROR01"), ""},
        {true, "COMM:51211", okay, ", sleep 100, line 115200 7E2 rts/cts"},
        {true, "COMM:A01x0", okay, ", sleep 100, line 230400 8O1"},
        {true, "COMM:73330", okay, ", sleep 100, line 19200 8N1"},
        {true, "COMM:Z0000", okay, ", sleep 100, line 9600 8N1"},
        {true, "COMM", okay, ", sleep 100, line 9600 8N1"},
        {true, "COMM:50001", ndisim::withCrc("ERROR06"), ""},
        {false, "COMM:50001", okay, ""},
    };
    for (const auto& [serial, command, reply, log] : cases) {
        const RecordPtr device = open(serial);
        fake.reads = {{reply}};
        deviceCommand(device.get(), "%s", command);
        EXPECT_EQ(fake.log.substr(fake.log.find('~') + 1), log) << command << reply;
    }
    const RecordPtr device = open(true);
    ErrorLog errors;
    errors.listenTo(device.get());
    fake.failing = "line";
    fake.reads = {{okay}};
    EXPECT_STREQ(deviceCommand(device.get(), "COMM:50001"), "OKAY");
    EXPECT_EQ(errors.codes, std::vector{0x300});
}

TEST(Channel, ResetOnBreak) {
    for (const std::string report : {"RESETBE6F\r", "OKAYA896\r", "RESET\r", ""}) {
        const RecordPtr device = open(true);
        device->tracking = 1;
        fake.reads = {{report}};
        const bool isReset = report == "RESETBE6F\r";
        EXPECT_STREQ(deviceCommand(device.get(), nullptr), isReset ? "RESET" : "");
        EXPECT_EQ(deviceGetError(device.get()), isReset ? 0 : 0x700);
        EXPECT_EQ(device->tracking, 0);
        EXPECT_EQ(fake.log, "line 9600 8N1, purge rt, purge rt, break, sleep 300, unbreak");
    }
}

#include "protocol/device.h"
#include "protocol/transport.h"
#include "tests/protocol/FakePlatform.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/Wire.h"

#include <gtest/gtest.h>

using Fault = FakePlatform::Fault;

namespace {

DevicePtr openSerial() {
    fake = {};
    DevicePtr device(deviceOpenSerial("COM3"));
    fake.log.clear();
    return device;
}

DevicePtr openNetwork() {
    fake = {};
    DevicePtr device(deviceOpenNetwork("host", 8765));
    fake.log.clear();
    return device;
}

} // namespace

TEST(Transport, SerialOpenAndCloseInOrder) {
    fake = {};
    const std::string opening = "open COM3, capture, queues 1600/1600, raw, timeouts 5000+2, "
                                "line 9600 8N1, ";
    deviceCloseSerial(deviceOpenSerial("COM3"));
    EXPECT_EQ(fake.joinedLog(), opening + "purge rt, restore, close");
    fake = {};
    fake.failing = {"line"};
    EXPECT_EQ(deviceOpenSerial("COM3"), nullptr);
    EXPECT_EQ(fake.joinedLog(), opening + "restore, close");
}

TEST(Transport, FourSlotsForTheSettingsOfPorts) {
    fake = {};
    std::vector<std::intptr_t> ports;
    for (int i = 0; i < 5; ++i) {
        ports.push_back(serialOpen("COM3"));
    }
    fake.log.clear();
    serialClose(ports[1]);
    ports[1] = serialOpen("COM3"); // takes the slot that became free
    serialClose(ports[4]);         // never had one
    for (int i = 0; i < 4; ++i) {
        serialClose(ports[static_cast<std::size_t>(i)]);
    }
    EXPECT_EQ(fake.joinedLog(),
              "restore, close, open COM3, capture, queues 1600/1600, raw, timeouts 5000+2, close, "
              "restore, close, restore, close, restore, close, restore, close");
}

TEST(Transport, SerialSettingsArePassedOn) {
    fake = {};
    EXPECT_EQ(serialSetLine(100, 1228739, "7E2", true), 0);
    EXPECT_EQ(serialSetLine(100, 14400, "8O1", false), 0);
    EXPECT_EQ(serialSetTimeout(100, 250), 0);
    for (const int which : {1, 2, 3, 0}) {
        EXPECT_EQ(serialPurge(100, which), 0);
    }
    EXPECT_EQ(fake.joinedLog(), "line 19200 7E2 rts/cts, line 14400 8O1, timeouts 250+2, purge r, "
                                "purge t, purge rt, purge rt");
    fake.failing = {"timeouts"};
    EXPECT_EQ(serialSetTimeout(100, 250), -1);
}

TEST(Transport, ShortAndBrokenWrites) {
    using Writes = std::deque<std::pair<int, Fault>>;
    const struct {
        Writes writes;
        int serial, net;
    } cases[] = {
        {{{3, Fault::none}, {4, Fault::none}}, 10, 10},
        {{{3, Fault::none}, {0, Fault::none}}, 3, 3},
        {{{0, Fault::none}}, 0, 0},
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
    EXPECT_EQ(serialWrite(100, "0123456789", 0), 0);
    EXPECT_EQ(serialWrite(100, "0123456789", -1), 0);
}

TEST(Transport, NetworkConnectClosesWhatItCannotUse) {
    const struct {
        const char* failing;
        std::string log;
    } cases[] = {
        {"start", "start"},
        {"socket", "start, socket"},
        {"nodelay", "start, socket, nodelay, close"},
        {"resolve", "start, socket, nodelay, resolve, close"},
        {"connect", "start, socket, nodelay, resolve, connect 8765, close"},
        {"", "start, socket, nodelay, resolve, connect 8765, close"},
    };
    for (const auto& [failing, log] : cases) {
        fake = {};
        fake.failing = {failing};
        DeviceRecord* device = deviceOpenNetwork("host", 8765);
        EXPECT_EQ(device == nullptr, *failing != '\0');
        deviceCloseNetwork(device);
        EXPECT_EQ(fake.joinedLog(), log) << failing;
    }
}

TEST(Channel, TransportFaultsBecomeCodes) {
    const struct {
        const char* what;
        FakePlatform::Step read;
        std::pair<int, Fault> write;
        std::int32_t error;
    } cases[] = {
        {"fine", {"OKAYA896\r"}, {99, Fault::none}, 0},
        {"no answer", {""}, {99, Fault::none}, 0x400},
        {"short write", {"OKAYA896\r"}, {0, Fault::none}, 0x400},
        {"write fails", {"OKAYA896\r"}, {0, Fault::failed}, 0x500},
        {"read fails", {"OKAYA896\r", Fault::failed, 5}, {99, Fault::none}, 0x600},
    };
    for (const bool serial : {true, false}) {
        for (const auto& each : cases) {
            const DevicePtr device = serial ? openSerial() : openNetwork();
            fake.reads = {each.read};
            fake.writes = {each.write};
            deviceCommand(device.get(), "PHSR:00");
            EXPECT_EQ(deviceGetError(device.get()), each.error) << each.what;
            EXPECT_EQ(fake.log.front(), serial ? "purge r" : "discard") << each.what;
            // After a write that failed nobody waits for an answer.
            EXPECT_EQ(fake.reads.empty(), each.write.first != 0) << each.what;
        }
    }
}

TEST(Channel, PeerThatNeverStopsSendingDoesNotStopCommands) {
    const DevicePtr device = openNetwork();
    fake.failing = {"discard"}; // always something there
    fake.answer({"OKAYA896\r"});
    EXPECT_STREQ(deviceCommand(device.get(), "PHSR:00"), "OKAY");
}

TEST(Channel, PausesAndLineSettingsBehindGoodReplies) {
    const std::string okay = wire::text("OKAY");
    const struct {
        bool serial;
        const char* command;
        std::string reply, log;
    } cases[] = {
        {true, "INIT:", okay, "sleep 100"},
        {false, "INIT:", okay, "sleep 100"},
        {true, "INIT:", wire::text("ERROR01"), ""},
        {true, "COMM:51211", okay, "sleep 100, line 115200 7E2 rts/cts"},
        {true, "COMM:A01x0", okay, "sleep 100, line 230400 8O1"},
        {true, "COMM:73330", okay, "sleep 100, line 19200 8N1"},
        {true, "COMM:50001", wire::text("ERROR06"), ""},
        {false, "COMM:50001", okay, ""},
    };
    for (const auto& each : cases) {
        const DevicePtr device = each.serial ? openSerial() : openNetwork();
        fake.answer({each.reply});
        deviceCommand(device.get(), "%s", each.command);
        const std::size_t sent = fake.log[1].find("write");
        EXPECT_EQ(sent, 0u);
        fake.log.erase(fake.log.begin(), fake.log.begin() + 2);
        EXPECT_EQ(fake.joinedLog(), each.log) << each.command << each.reply;
    }
    const DevicePtr device = openSerial();
    ErrorLog errors;
    errors.listenTo(device.get());
    fake.failing = {"line"};
    fake.answer({okay});
    EXPECT_STREQ(deviceCommand(device.get(), "COMM:50001"), "OKAY");
    EXPECT_EQ(errors.codes, std::vector<std::int32_t>{0x300});
    EXPECT_EQ(errors.lastText, "Host not capable of given communications parameters");
}

TEST(Channel, ResetOnBreak) {
    const struct {
        std::string report;
        std::int32_t error;
        const char* reply;
    } cases[] = {{"RESETBE6F\r", 0, "RESET"},
                 {"OKAYA896\r", 0x700, ""},
                 {"RESET\r", 0x700, ""},
                 {"", 0x700, ""}};
    for (const auto& [report, error, reply] : cases) {
        const DevicePtr device = openSerial();
        device->tracking = 1;
        fake.answer({report});
        EXPECT_STREQ(deviceCommand(device.get(), nullptr), reply);
        EXPECT_EQ(deviceGetError(device.get()), error);
        EXPECT_EQ(device->tracking, 0);
        EXPECT_EQ(fake.joinedLog(), "line 9600 8N1, purge rt, purge rt, break, sleep 300, unbreak");
    }
}

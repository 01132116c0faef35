#include "tests/protocol/Connection.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>

using testing::ElementsAre;
using Codes = std::vector<std::int32_t>;
using Command = Connection;

TEST_F(Command, IsFramedByItsFirstOtherCharacter) {
    const std::string tooLong = "PVWR:" + std::string(3000, '7');
    const std::pair<std::string, std::string> cases[] = {
        {"INIT:", "INIT:E3A5\r"},
        {"TSTART", "TSTART\r"},
        {"PHSR 00", "PHSR 00\r"},
        {"A9 :", "A9 :\r"},
        {"A9:", ndisim::withCrc("A9:")},
        {"init:", "init:\r"},
        {"", "\r"},
        {"PENA:0AD", ndisim::withCrc("PENA:0AD")},
        {tooLong, ndisim::withCrc(tooLong.substr(0, 2042))},
    };
    alwaysAnswer(ndisim::withCrc("OKAY"));
    std::vector<std::string> sent;
    for (const auto& [text, bytes] : cases) {
        EXPECT_EQ(errorOf(text), 0);
        EXPECT_STREQ(device->reply, "OKAY");
        EXPECT_EQ(device->commandBuffer, bytes);
        sent.push_back(bytes);
    }
    deviceCommand(device.get(), "PENA:%02X%c", 0x0Bu, 'D');
    sent.push_back(ndisim::withCrc("PENA:0BD"));
    deviceCommand(device.get(), "PENA:0A%lc", std::wint_t{0xD800}); // no character: nothing of it
    sent.push_back("\r");
    EXPECT_EQ(received(), sent);
}

TEST_F(Command, ChecksEveryReply) {
    const std::string good = ndisim::withCrc("OKAY");
    const std::string bx =
        wire::binary("\x01\x0A\x02" + wire::le32(0x31) + wire::le32(7) + wire::le16(0));
    std::string flipped = bx;
    flipped[9] = static_cast<char>(flipped[9] ^ 0x10);
    std::string plain(2045, 'x'); // binary that is no tracking reply: it ends with the buffer
    plain += wire::le16(ndisim::crc16(plain));
    std::string refusal = "ERROR0B" + std::string(2038, 'x'); // the same, without CR at its end
    refusal += wire::le16(ndisim::crc16(refusal));
    const std::string header = "\xC4\xA5";
    const struct {
        std::string command, raw;
        Codes told;
        std::string reply;
    } cases[] = {
        {"PINIT:01", "OKAYa896\r", {}, "OKAY"},
        {"PINIT:01", "OKAYA897\r", {0x100}, "OKAY"},
        {"PINIT:01", "OKAY\r", {}, ""}, // no CRC is the CRC of nothing
        {"PINIT:01", "OKA\r", {0x100}, ""},
        {"PINIT:01", "\r", {0x100}, ""},
        {"PINIT:01", good + good, {0x100}, "OKAYA896\rOKAY"},
        {"PINIT:01", ndisim::withCrc("ERRORf4"), {0xF4}, "ERRORf4"},
        {"PINIT:01", "ERROR0DFFFF\r", {0x100}, "ERROR0D"},
        {"PHSR:00", ndisim::withCrc("ERROR00"), {0}, "ERROR00"},
        {"BX:0001", ndisim::withCrc("ERROR0C"), {0x0C}, "ERROR0C"},
        {"BX:0001", "ERROR0C1234\r", {0x100}, "ERROR0C"},
        {"BX:0001", flipped, {0x100}, header},
        {"BX:0001", header + wire::le16(2996) + std::string(3000, 'x'), {0x100}, header},
        {"TX:0001", std::string(3000, '0') + "\r", {0x100}, "00"},
        {"BX:0001", plain, {}, "xx"},
        {"BX:0001", refusal, {0x0B}, "ERROR0Bxx"},
        {"BX:0001", bx, {}, header},
        {"GETLOG:1", bx, {}, header},
        {"VGET:1", bx, {}, header},
        {"BX2:1", good, {}, "OKAY"},
    };
    for (const auto& each : cases) {
        connect();
        ErrorLog errors;
        errors.listenTo(device.get());
        std::strcpy(device->PhsrReply, "kept");
        alwaysAnswer(each.raw);
        const std::string what = each.command + each.raw.substr(0, 20);
        EXPECT_EQ(errorOf(each.command), each.told.empty() ? 0 : each.told[0]) << what;
        EXPECT_EQ(std::string(device->reply).substr(0, each.reply.size()), each.reply) << what;
        EXPECT_EQ(errors.codes, each.told) << what;
        EXPECT_STREQ(device->PhsrReply, "kept") << what;
        EXPECT_EQ(device->BxHandleCount, each.command[0] == 'B' && each.raw == bx ? 1 : 0) << what;
        EXPECT_EQ(device->reply[2047] + device->rawReply[2047], 0);
        // Whatever came behind the reply is not taken for the next one.
        simulator.clearFaults();
        EXPECT_EQ(errorOf("BEEP:1"), 0) << what;
    }
}

TEST_F(Command, TrackingFollowsWhatWasSent) {
    const std::tuple<const char*, bool, bool> cases[] = {
        {"TSTART:", true, true}, {"PHSR:00", true, true},  {"INIT:", true, false},
        {"TSTART", false, true}, {"TSTOP:", false, false}, {"TSTARTX:", true, false}};
    EXPECT_EQ(errorOf("INIT:"), 0);
    deviceSetNetworkTimeout(device.get(), 50); // where no answer comes
    deviceSetNetworkTimeout(device.get(), 0);  // no change, in particular not "for ever"
    for (const auto& [command, isAnswered, isTracking] : cases) {
        simulator.clearFaults();
        simulator.addFault(isAnswered ? "reply=OKAY" : "no-answer");
        errorOf(command);
        EXPECT_EQ(device->tracking != 0, isTracking) << command;
    }
}

// Over a network nothing is broken: the host waits for a report that comes by itself.
TEST_F(Command, ResetIsReportedByTheDevice) {
    expectGood(kStartTracking);
    simulator.resetLink();
    EXPECT_STREQ(deviceCommand(device.get(), nullptr), "RESET");
    EXPECT_EQ(device->tracking, 0);
    EXPECT_EQ(simulator.state(), ndisim::DeviceState::PowerOn);
    deviceSetNetworkTimeout(device.get(), 50);
    deviceCommand(device.get(), nullptr);
    EXPECT_EQ(deviceGetError(device.get()), 0x700);
}

TEST_F(Command, WithoutConnection) {
    device = makeRecord();
    ErrorLog errors;
    errors.listenTo(device.get());
    std::strcpy(device->reply, "older");
    EXPECT_STREQ(deviceCommand(device.get(), "INIT:"), "");
    EXPECT_STREQ(deviceCommand(device.get(), nullptr), "");
    EXPECT_THAT(errors.codes, ElementsAre(0x200, 0x200));
    EXPECT_EQ(errors.lastText, "Error opening serial connection");
    deviceCloseNetwork(nullptr);
    deviceCloseSerial(nullptr);
}

TEST_F(Command, RomUploadIsSixteenBlocksOrTheFirstFailure) {
    const std::string path =
        testing::TempDir() + "protocol_rom_" + std::to_string(simulator.port());
    const std::string image = std::string(999, '7') + "\xFE"; // the rest is filled with zeros
    EXPECT_EQ(errorOf("INIT:"), 0);
    for (const std::string& content : {image, image + std::string(1000, '\0')}) {
        std::ofstream(path, std::ios::binary) << content;
        simulator.clearLog();
        EXPECT_EQ(deviceUploadRom(device.get(), 0x0A, path.c_str()), 0);
        EXPECT_EQ(simulator.commands().size(), 16u);
        simulator.withDevice([&](const ndisim::Device& tracker) {
            const auto loaded = tracker.loadedImage(0x0A);
            const std::string whole = image + std::string(24, '\0');
            EXPECT_EQ(std::string(loaded.begin(), loaded.end()), whole);
        });
    }
    simulator.addFault("error=0A@PVWR:0A0080");
    EXPECT_EQ(deviceUploadRom(device.get(), 0x0A, path.c_str()), -1);
    EXPECT_EQ(deviceGetError(device.get()), 0x0A);
    std::remove(path.c_str());
    // Nothing to read: nothing is sent, and the error of the last command is gone.
    for (const std::string& unreadable : {path, testing::TempDir()}) {
        EXPECT_EQ(deviceUploadRom(device.get(), 0x0A, unreadable.c_str()), -1);
        EXPECT_EQ(deviceGetError(device.get()), 0);
    }
    EXPECT_EQ(simulator.commands().size(), 16u + 3);
}

#include "protocol/device.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/ScriptedPeer.h"
#include "tests/protocol/Wire.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using Answer = ScriptedPeer::Answer;

namespace {

constexpr int kPatienceMs = 20000; // only ends a test that has gone wrong
constexpr int kShortMs = 50;       // where no answer comes

DevicePtr connectTo(const TcpPeer& peer, int timeoutMs = kPatienceMs) {
    DevicePtr device(deviceOpenNetwork("127.0.0.1", peer.port()));
    if (device) {
        deviceSetNetworkTimeout(device.get(), timeoutMs);
    }
    return device;
}

void waitForData(const DeviceRecord& device) {
    pollfd waiting = {static_cast<int>(device.socket), POLLIN, 0};
    ASSERT_EQ(poll(&waiting, 1, kPatienceMs), 1);
}

Answer okay(const std::string&) {
    return wire::text("OKAY");
}

// A BX reply of one handle with port status and frame number only.
std::string missingTool(std::uint32_t frame) {
    return wire::binary("\x01\x0A\x02" + wire::le32(0x31) + wire::le32(frame) + wire::le16(0));
}

} // namespace

TEST(Command, IsFramedByItsFirstOtherCharacter) {
    TcpPeer peer(okay);
    const DevicePtr device = connectTo(peer);
    const std::string tooLong = "PVWR:" + std::string(3000, '7');
    const std::string cut = tooLong.substr(0, 2042);
    const struct {
        std::string text, sent;
    } cases[] = {
        {"INIT:", "INIT:E3A5\r"},
        {"TSTART", "TSTART\r"},
        {"PHSR 00", "PHSR 00\r"},
        {"PENA:0AD", "PENA:0AD" + wire::hex(wire::crc("PENA:0AD"), 4) + "\r"},
        {"A9 :", "A9 :\r"},
        {"init:", "init:\r"},
        {"", "\r"},
        {tooLong, cut + wire::hex(wire::crc(cut), 4) + "\r"},
    };
    std::vector<std::string> expected;
    for (const auto& [text, sent] : cases) {
        EXPECT_STREQ(deviceCommand(device.get(), "%s", text.c_str()), "OKAY");
        EXPECT_EQ(deviceGetError(device.get()), 0);
        EXPECT_EQ(device->commandBuffer, sent);
        EXPECT_STREQ(device->rawReply, "OKAYA896\r");
        expected.push_back(sent);
    }
    deviceCommand(device.get(), "PENA:%02X%c", 0x0Bu, 'D');
    expected.push_back("PENA:0BD" + wire::hex(wire::crc("PENA:0BD"), 4) + "\r");
    EXPECT_EQ(peer.commands(), expected);
}

TEST(Command, ChecksEveryReply) {
    const std::string good = wire::text("OKAY");
    const std::string bx = missingTool(7);
    std::string flipped = bx;
    flipped[9] = static_cast<char>(flipped[9] ^ 0x10);
    std::string plain(2045, 'x'); // binary that is no tracking reply: it ends with the buffer
    plain += wire::le16(wire::crc(plain));

    const struct {
        const char* what;
        const char* command;
        std::string raw;
        std::int32_t error;
        std::string reply;
        std::vector<std::int32_t> told;
    } cases[] = {
        {"good", "INIT:", good, 0, "OKAY", {}},
        {"lower-case CRC", "PINIT:01", "OKAYa896\r", 0, "OKAY", {}},
        {"wrong CRC", "PINIT:01", "OKAYA897\r", 0x100, "OKAY", {0x100}},
        {"no CRC", "PINIT:01", "OKAY\r", 0, "", {}},
        {"short", "PINIT:01", "OKA\r", 0x100, "", {0x100}},
        {"only CR", "PINIT:01", "\r", 0x100, "", {0x100}},
        {"two at once", "PINIT:01", good + good, 0x100, "OKAYA896\rOKAY", {0x100}},
        {"zero bytes inside", "PINIT:01", std::string("\0x\0\0\0\0\r", 7), 0x100, "", {0x100}},
        {"device error", "PINIT:01", wire::text("ERROR0D"), 0x0D, "ERROR0D", {0x0D}},
        {"its wrong CRC", "PINIT:01", "ERROR0DFFFF\r", 0x100, "ERROR0D", {0x100}},
        {"error 00", "PHSR:00", wire::text("ERROR00"), 0, "ERROR00", {0}},
        {"error f4", "PINIT:01", wire::text("ERRORf4"), 0xF4, "ERRORf4", {0xF4}},
        {"error without code", "PINIT:01", wire::text("ERROR"), 0, "ERROR", {0}},
        {"device error for BX", "BX:0001", wire::text("ERROR0C"), 0x0C, "ERROR0C", {0x0C}},
        {"wrong CRC of that", "BX:0001", "ERROR0C1234\r", 0x100, "ERROR0C", {0x100}},
        {"flipped bit", "BX:0001", flipped, 0x100, "\xC4\xA5", {0x100}},
        {"length 65535",
         "BX:0001",
         "\xC4\xA5\xFF\xFF" + std::string(3000, 'x'),
         0x100,
         "\xC4\xA5",
         {0x100}},
        {"text without end", "TX:0001", std::string(3000, '0'), 0x100, "00", {0x100}},
        {"no tracking reply", "BX:0001", plain, 0, "xx", {}},
        {"BX", "BX:0001", bx, 0, "\xC4\xA5", {}},
        {"GETLOG", "GETLOG:1", bx, 0, "\xC4\xA5", {}},
        {"VGET", "VGET:1", bx, 0, "\xC4\xA5", {}},
        {"BX2 is text", "BX2:1", good, 0, "OKAY", {}},
    };
    TcpPeer peer(okay);
    for (const auto& each : cases) {
        const DevicePtr device = connectTo(peer);
        ErrorLog errors;
        errors.listenTo(device.get());
        device->PhsrReply[0] = 'k';
        peer.alwaysAnswer(each.raw);
        const char* reply = deviceCommand(device.get(), "%s", each.command);
        EXPECT_EQ(deviceGetError(device.get()), each.error) << each.what;
        EXPECT_EQ(std::string(reply).substr(0, each.reply.size()), each.reply) << each.what;
        EXPECT_EQ(errors.codes, each.told) << each.what;
        EXPECT_EQ(device->PhsrReply[0], 'k') << each.what;
        EXPECT_EQ(device->BxHandleCount, std::string_view(each.what) == "BX" ? 1 : 0) << each.what;
        EXPECT_EQ(device->reply[2047], 0);
        EXPECT_EQ(device->rawReply[2047], 0);
        // Whatever came behind the reply is not taken for the next one.
        peer.setScript(okay);
        EXPECT_STREQ(deviceCommand(device.get(), "PINIT:01"), "OKAY") << each.what;
    }
}

TEST(Command, RepliesInPieces) {
    const std::string binary = missingTool(7);
    const std::string text = wire::text("00" + std::string(60, '5') + "1234");
    TcpPeer peer(okay);
    const DevicePtr device = connectTo(peer);
    Answer next;
    for (const std::string* whole : {&binary, &text}) {
        for (std::size_t cut = 1; cut < whole->size(); ++cut) {
            next.chunks = {whole->substr(0, cut), whole->substr(cut)};
            peer.alwaysAnswer(next);
            deviceCommand(device.get(), whole == &binary ? "BX:0001" : "TX:0001");
            ASSERT_EQ(deviceGetError(device.get()), 0) << cut;
        }
        next.chunks.clear();
        for (const char byte : *whole) {
            next.chunks.emplace_back(1, byte);
        }
        peer.alwaysAnswer(next);
        deviceCommand(device.get(), whole == &binary ? "BX:0001" : "TX:0001");
        EXPECT_EQ(deviceGetError(device.get()), 0);
    }
    EXPECT_EQ(deviceBxFrameNumber(device.get(), 0x0A), 7u);
    EXPECT_EQ(deviceTxSystemStatus(device.get()), 0x5555);
}

TEST(Command, LateReplyIsNotTakenForTheNextOne) {
    int asked = 0;
    TcpPeer peer([&asked](const std::string&) {
        return ++asked == 1 ? Answer() : Answer(missingTool(static_cast<std::uint32_t>(asked)));
    });
    const DevicePtr device = connectTo(peer, kShortMs);
    deviceCommand(device.get(), "BX:0001");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
    peer.send(missingTool(1) + std::string(9000, 'x'));
    waitForData(*device);
    deviceSetNetworkTimeout(device.get(), kPatienceMs);
    for (std::uint32_t frame = 2; frame < 5; ++frame) {
        deviceCommand(device.get(), "BX:0001");
        EXPECT_EQ(deviceBxFrameNumber(device.get(), 0x0A), frame);
    }
}

TEST(Command, StalledReplyIsATimeoutAndKeepsTheStores) {
    TcpPeer peer([](const std::string&) { return wire::text("010A001"); });
    const DevicePtr device = connectTo(peer);
    deviceCommand(device.get(), "PHSR:00");
    deviceSetNetworkTimeout(device.get(), kShortMs);
    peer.alwaysAnswer("020B00");
    EXPECT_STREQ(deviceCommand(device.get(), "PHSR:00"), "");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
    EXPECT_EQ(devicePhsrHandle(device.get(), 0), 0x0A);
    deviceSetNetworkTimeout(device.get(), 0); // no change, in particular not "for ever"
    deviceCommand(device.get(), "PHSR:00");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
}

TEST(Command, TrackingFollowsWhatWasSent) {
    TcpPeer peer(okay);
    const DevicePtr device = connectTo(peer, kShortMs);
    const struct {
        const char* command;
        bool answered, tracking;
    } cases[] = {{"TSTART:", true, true}, {"PHSR:00", true, true},  {"INIT:", true, false},
                 {"TSTART", false, true}, {"TSTOP:", false, false}, {"TSTARTX:", true, false}};
    for (const auto& [command, answered, tracking] : cases) {
        peer.alwaysAnswer(answered ? okay("") : Answer());
        deviceCommand(device.get(), "%s", command);
        EXPECT_EQ(device->tracking != 0, tracking) << command;
    }
}

TEST(Command, PeerThatGoesAwayIsAnErrorAndNoSignal) {
    signal(SIGPIPE, SIG_DFL);
    TcpPeer peer([](const std::string& command) {
        Answer answer = okay(command);
        answer.hangsUp = true;
        return answer;
    });
    const DevicePtr device = connectTo(peer);
    deviceCommand(device.get(), "INIT:");
    EXPECT_EQ(deviceGetError(device.get()), 0);
    for (int i = 0; i < 5; ++i) {
        deviceCommand(device.get(), "TSTART:");
        EXPECT_THAT(deviceGetError(device.get()), AnyOf(0x400, 0x500, 0x600));
    }
    const DevicePtr again = connectTo(peer);
    EXPECT_STREQ(deviceCommand(again.get(), "INIT:"), "OKAY");
}

TEST(Command, SignalsNeitherBreakNorProlongIt) {
    struct sigaction action = {};
    action.sa_handler = [](int) {}; // without SA_RESTART: every system call is interrupted
    sigaction(SIGUSR1, &action, nullptr);
    int asked = 0;
    TcpPeer peer([&asked](const std::string&) {
        const std::string reply = missingTool(1);
        Answer answer;
        answer.chunks = {reply.substr(0, 5), reply.substr(5)};
        return ++asked <= 300 ? answer : Answer();
    });
    std::atomic<bool> goesOn = true;
    std::thread storm([&goesOn, target = pthread_self()] {
        while (goesOn) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    const DevicePtr device = connectTo(peer);
    ASSERT_TRUE(device);
    for (int i = 0; i < 300; ++i) {
        deviceCommand(device.get(), "BX:0001");
        EXPECT_EQ(deviceGetError(device.get()), 0) << i;
    }
    deviceSetNetworkTimeout(device.get(), 200); // longer than the pauses between signals
    deviceCommand(device.get(), "BX:0001");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
    goesOn = false;
    storm.join();
    signal(SIGUSR1, SIG_DFL);
}

TEST(Command, ResetReportOverTheNetworkIsOnlyWaitedFor) {
    TcpPeer peer(okay);
    const struct {
        const char* report;
        std::int32_t error;
        const char* reply;
    } cases[] = {{"RESETBE6F\r", 0, "RESET"},
                 {"RESETBE60\r", 0, "RESET"},
                 {"RESETBE7F\r", 0x700, ""},
                 {"RESET\r", 0x700, ""}};
    for (const auto& [report, error, reply] : cases) {
        const DevicePtr device = connectTo(peer);
        deviceCommand(device.get(), "TSTART");
        peer.send(report);
        EXPECT_STREQ(deviceCommand(device.get(), nullptr), reply);
        EXPECT_EQ(deviceGetError(device.get()), error) << report;
        EXPECT_EQ(device->tracking, 0);
    }
    const DevicePtr device = connectTo(peer, kShortMs);
    deviceCommand(device.get(), nullptr);
    EXPECT_EQ(deviceGetError(device.get()), 0x700);
    EXPECT_THAT(peer.commands(), ElementsAre("TSTART\r", "TSTART\r", "TSTART\r", "TSTART\r"));
}

TEST(Command, WithoutConnection) {
    const RecordPtr record = makeRecord();
    ErrorLog errors;
    errors.listenTo(record.get());
    std::strcpy(record->reply, "older");
    EXPECT_STREQ(deviceCommand(record.get(), "INIT:"), "");
    EXPECT_STREQ(deviceCommand(record.get(), nullptr), "");
    EXPECT_THAT(errors.codes, ElementsAre(0x200, 0x200));
    EXPECT_EQ(errors.lastText, "Error opening serial connection");

    deviceCloseNetwork(nullptr);
    deviceCloseSerial(nullptr);
}

TEST(OpenNetwork, HostsThatDoAndDoNotExist) {
    TcpPeer peer(okay);
    const DevicePtr byName(deviceOpenNetwork("localhost", peer.port()));
    ASSERT_TRUE(byName);
    EXPECT_STREQ(byName->hostName, "localhost");
    EXPECT_EQ(byName->tcpPort, peer.port());
    EXPECT_EQ(byName->serialPort, -1);
    EXPECT_EQ(byName->deviceName, nullptr);
    for (const char* host : {"999.1.1.1", "127.0.0.1:80", "", "no such host"}) {
        EXPECT_EQ(deviceOpenNetwork(host, peer.port()), nullptr) << host;
    }
    EXPECT_EQ(deviceOpenNetwork(nullptr, peer.port()), nullptr);
    std::uint16_t freePort = 0;
    {
        const TcpPeer gone(okay);
        freePort = gone.port();
    }
    EXPECT_EQ(deviceOpenNetwork("127.0.0.1", freePort), nullptr);
}

TEST(UploadRom, SixteenBlocksOrTheFirstFailure) {
    TcpPeer peer(okay);
    const DevicePtr device = connectTo(peer);
    const std::string path = testing::TempDir() + "protocol_rom_" + std::to_string(getpid());
    std::string image(2000, '\0');
    for (std::size_t i = 0; i < image.size(); ++i) {
        image[i] = static_cast<char>(i * 11 + i / 64);
    }
    for (const std::size_t size : {std::size_t{100}, std::size_t{1024}, std::size_t{2000}}) {
        std::ofstream(path, std::ios::binary)
            .write(image.data(), static_cast<std::streamsize>(size));
        const std::size_t before = peer.commands().size();
        EXPECT_EQ(deviceUploadRom(device.get(), 0x0A, path.c_str()), 0);
        const auto commands = peer.commands();
        ASSERT_EQ(commands.size(), before + 16);
        for (std::size_t block = 0; block < 16; ++block) {
            std::string text = "PVWR:0A" + wire::hex(static_cast<unsigned>(block) * 64, 4);
            for (std::size_t i = block * 64; i < block * 64 + 64; ++i) {
                text += wire::hex(i < size ? static_cast<unsigned char>(image[i]) : 0u, 2);
            }
            EXPECT_EQ(commands[before + block], text + wire::hex(wire::crc(text), 4) + "\r");
        }
    }
    peer.setScript([](const std::string& command) {
        return wire::text(command.rfind("PVWR:0A0080", 0) == 0 ? "ERROR0A" : "OKAY");
    });
    EXPECT_EQ(deviceUploadRom(device.get(), 0x0A, path.c_str()), -1);
    EXPECT_EQ(deviceGetError(device.get()), 0x0A);
    EXPECT_EQ(peer.commands().size(), 3u * 16 + 3);
    std::remove(path.c_str());

    // Nothing to read: nothing is sent, and the error of the last command is gone.
    for (const std::string& unreadable : {path, testing::TempDir()}) {
        EXPECT_EQ(deviceUploadRom(device.get(), 0x0A, unreadable.c_str()), -1);
        EXPECT_EQ(deviceGetError(device.get()), 0);
    }
    EXPECT_EQ(peer.commands().size(), 3u * 16 + 3);
}

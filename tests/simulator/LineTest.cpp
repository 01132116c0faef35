// The simulator at the other end of a socket or terminal, with the protocol library as its host.
#include "protocol/transport.h"
#include "simulator/Crc.h"
#include "simulator/Simulator.h"
#include "tests/lib/TemporaryFolder.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/Wire.h"

#include <gtest/gtest.h>

#include <thread>

namespace ndisim {
namespace {

using Commands = std::vector<std::string>;

class Line : public testing::Test {
protected:
    void start(bool isTerminal) {
        if (isTerminal) {
            options.device.family = Family::Vicra;
            options.address = PtyAddress{folder.path / "port"};
        }
        simulator = std::make_unique<Simulator>(options);
        simulator->start();
    }
    void connect() {
        device.reset(simulator->port() != 0 ? deviceOpenNetwork("127.0.0.1", simulator->port())
                                            : deviceOpenSerial(simulator->address().c_str()));
        ASSERT_TRUE(device);
        deviceSetNetworkTimeout(device.get(), 20000);
    }
    std::int32_t errorOf(const std::string& command) {
        deviceCommand(device.get(), "%s", command.c_str());
        return deviceGetError(device.get());
    }

    // Sends a command that the device is not to hear, and waits until it has not heard it.
    void expectIgnored() {
        const std::string command = withCrc("INIT:");
        const std::size_t expected = simulator->ignoredBytes() + command.size();
        serialWrite(device->serialPort, command.data(), static_cast<int>(command.size()));
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (simulator->ignoredBytes() < expected && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        EXPECT_EQ(simulator->ignoredBytes(), expected);
    }

    Morvalin::TemporaryFolder folder;
    SimulatorOptions options;
    std::unique_ptr<Simulator> simulator;
    RecordPtr device;
};

TEST_F(Line, CommandsAreAnsweredAndRecorded) {
    options.chunk = 7;
    start(false);
    connect();
    EXPECT_EQ(errorOf("INIT:"), 0);
    EXPECT_EQ(errorOf("TSTART"), 0);
    simulator->withDevice([](Device& tracker) { tracker.setStrays(50); });
    EXPECT_EQ(errorOf("BX:1001"), 0);
    EXPECT_EQ(deviceBxPassiveStrayCount(device.get()), 50);
    connect(); // the device's state outlives the connection
    EXPECT_EQ(errorOf("TSTOP:"), 0);
    EXPECT_EQ(errorOf("TSTOP:"), 0x0C);

    EXPECT_EQ(simulator->commands(), (Commands{"INIT:", "TSTART", "BX:1001", "TSTOP:", "TSTOP:"}));
    const Exchange tracking = simulator->exchanges().at(2);
    EXPECT_EQ(tracking.received + "\r", withCrc("BX:1001"));
    EXPECT_EQ(tracking.sent, tracking.reply);
    EXPECT_GE(tracking.measurement->frame, 1U);
    simulator->clearLog();
    EXPECT_TRUE(simulator->commands().empty());
    EXPECT_EQ(simulator->commandCount(), 5U);
    simulator->resetLink();
    EXPECT_STREQ(deviceCommand(device.get(), nullptr), "RESET");
    EXPECT_EQ(simulator->state(), DeviceState::PowerOn);
}

TEST_F(Line, EveryFormOfAReplyTellsTheSame) {
    options.device.family = Family::Aurora;
    options.device.tools = {parseWiredTool("1"), parseWiredTool("2")};
    options.device.toolStates = {parseToolState("2:missing")};
    options.device.hasSingleStray = true;
    options.clock = [] { return std::chrono::nanoseconds(0); };
    start(false);
    connect();
    for (const char* command : {"INIT:", "PINIT:0A", "PENA:0AD", "PINIT:0B", "PENA:0BD",
                                "TSTART:", "BX:0807", "TX:0805", "GX:0001"}) {
        EXPECT_EQ(errorOf(command), 0) << command;
    }
    const DeviceRecord* host = device.get();
    float binary[8];
    double text[8];
    double older[8];
    EXPECT_EQ(deviceBxTransform(host, 0x0B, binary), 2);
    EXPECT_EQ(deviceTxTransform(host, 0x0B, text), 2);
    EXPECT_EQ(deviceGxTransform(host, '2', older), 2);
    EXPECT_EQ(deviceBxTransform(host, 0x0A, binary), 0);
    EXPECT_EQ(deviceTxTransform(host, 0x0A, text), 0);
    EXPECT_EQ(deviceGxTransform(host, '1', older), 0);
    const ToolMeasurement tool = simulator->exchanges().back().measurement->tools.at(0);
    for (unsigned i = 0; i < 8; ++i) {
        const bool isPosition = i >= 4 && i < 7;
        const double sent = i < 4        ? tool.pose.rotation[i]
                            : isPosition ? tool.pose.position[i - 4]
                                         : tool.pose.error;
        EXPECT_NEAR(binary[i], sent, 1e-4) << i;
        EXPECT_NEAR(text[i], sent, isPosition ? 0.0051 : 5.1e-5) << i;
        EXPECT_EQ(older[i], text[i]) << i;
    }
    EXPECT_EQ(deviceBxFrameNumber(host, 0x0A), tool.frame);
    EXPECT_EQ(deviceTxFrameNumber(host, 0x0A), tool.frame);
    EXPECT_EQ(deviceBxPortStatus(host, 0x0A), tool.portStatus);
    EXPECT_EQ(deviceTxPortStatus(host, 0x0A), tool.portStatus);
    EXPECT_EQ(deviceBxSingleStray(host, 0x0A, binary), 0);
    EXPECT_EQ(deviceTxSingleStray(host, 0x0A, text), 0);
    for (unsigned i = 0; i < 3; ++i) {
        EXPECT_NEAR(binary[i], (*tool.singleStray)[i], 1e-4);
        EXPECT_NEAR(text[i], (*tool.singleStray)[i], 0.0051);
    }
}

TEST_F(Line, EveryRateIsToldFromTheOthers) {
    const std::pair<std::string, int> rates[] = {{"0", 9600},   {"1", 14400}, {"2", 19200},
                                                 {"3", 38400},  {"4", 57600}, {"5", 115200},
                                                 {"6", 921600}, {"7", 19200}, {"A", 230400}};
    start(true);
    connect();
    EXPECT_EQ(errorOf("INIT:"), 0) << "9600 baud without handshake at power-on";
    for (const bool hasHandshake : {true, false}) {
        for (const auto& [code, baud] : rates) {
            EXPECT_EQ(errorOf("COMM:" + code + (hasHandshake ? "0001" : "0000")), 0);
            serialSetLine(device->serialPort, baud, "8N1", !hasHandshake);
            expectIgnored();
            serialSetLine(device->serialPort, baud == 19200 ? 9600 : 19200, "8N1", hasHandshake);
            expectIgnored();
            serialSetLine(device->serialPort, baud, "8N1", hasHandshake);
            EXPECT_EQ(errorOf("PHSR:00"), 0) << code;
        }
    }
}

// What a host does with a system that a crashed program left at another speed.
TEST_F(Line, BreakFollowsASpoiledInitOnly) {
    options.device.link = parseLinkSettings("50001");
    options.device.state = DeviceState::Tracking;
    start(true);
    const std::string version = "GETINFO:Features.Firmware.Version";
    EXPECT_EQ(deviceProbePort(simulator->address().c_str()), 0);
    EXPECT_EQ(simulator->commands(), (Commands{"BREAK", "INIT:", version}));
    EXPECT_EQ(simulator->link(), LinkSettings{});
    for (const char* rule : {"no-answer@INIT#1", "crc@INIT#1", "drop@INIT#1"}) {
        simulator->clearFaults();
        simulator->addFault(rule);
        simulator->clearLog();
        EXPECT_EQ(deviceProbePort(simulator->address().c_str()), 0) << rule;
        EXPECT_EQ(simulator->commands(), (Commands{"INIT:", "BREAK", "INIT:", version})) << rule;
    }
}

TEST_F(Line, TerminalPassesEveryByteInItsTime) {
    options.isPaced = true;
    start(true);
    connect();
    std::string bytes; // every value, those with a meaning to terminals among them
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    FaultRule everyByte;
    everyByte.fault.kind = FaultKind::Raw;
    everyByte.fault.bytes = wire::binary(bytes);
    simulator->addFault(everyByte);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(errorOf("VGET:1"), 0);
    const auto needed = std::chrono::milliseconds((bytes.size() + 12) * 10 * 1000 / 9600 - 3);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, needed);
    EXPECT_EQ(std::string(device->rawReply, everyByte.fault.bytes.size()), everyByte.fault.bytes);
    simulator->clearFaults();
    const std::string sent = "X" + bytes.substr(1, 12) + bytes.substr(14);
    EXPECT_EQ(errorOf(sent), 0x01);
    EXPECT_EQ(simulator->exchanges().back().received, sent);
}

} // namespace
} // namespace ndisim

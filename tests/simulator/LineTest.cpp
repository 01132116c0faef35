#include "simulator/Simulator.h"
#include "tests/simulator/HostClient.h"

#include <fstream>
#include <memory>
#include <thread>

namespace ndisim {
namespace {

namespace fs = std::filesystem;

using Commands = std::vector<std::string>;

constexpr std::chrono::seconds guard{30};

/// A simulator with a connection, and hosts for it.
class Line : public testing::TestWithParam<const char*> {
protected:
    Line() {
        std::string pattern = fs::temp_directory_path() / "ndisim-XXXXXX";
        m_folder = ::mkdtemp(pattern.data());
        link = m_folder / "port";
    }
    ~Line() override { fs::remove_all(m_folder); }

    void useTerminal() {
        options.device.family = Family::Vicra;
        options.address = PtyAddress{link};
    }
    void start(std::initializer_list<const char*> faults = {}) {
        simulator = std::make_unique<Simulator>(options);
        for (const char* rule : faults) {
            simulator->addFault(rule);
        }
        simulator->start();
    }
    HostClient connect() const {
        return simulator->port() != 0 ? HostClient(simulator->port()) : HostClient(link);
    }

    // Sends a command that the device is not to hear, and waits until it has not heard it.
    void expectIgnored(HostClient& host) const {
        const std::size_t expected = simulator->ignoredBytes() + withCrc("INIT:").size();
        host.sendCommand("INIT:");
        const auto end = std::chrono::steady_clock::now() + guard;
        while (simulator->ignoredBytes() < expected && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        EXPECT_EQ(simulator->ignoredBytes(), expected);
    }

    SimulatorOptions options;
    std::string link;
    std::unique_ptr<Simulator> simulator;

private:
    fs::path m_folder;
};

class EitherLine : public Line {
    void SetUp() override {
        if (std::string_view(GetParam()) == "terminal") {
            useTerminal();
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Over, EitherLine, testing::Values("network", "terminal"));

TEST_F(Line, CommandsAreAnsweredAndRecorded) {
    options.chunk = 7;
    start();
    HostClient host = connect();
    EXPECT_EQ(host.ask("INIT:"), "OKAY");
    host.send("TSTA");
    host.send("RT\r");
    EXPECT_EQ(host.readReply(), "OKAYA896\r");
    simulator->withDevice([](Device& device) { device.setStrays(50); });
    host.sendCommand("BX:1001");
    const std::string head = host.readCount(4);
    const std::string reply = head + host.readCount(4U + static_cast<unsigned char>(head[2]) +
                                                    256U * static_cast<unsigned char>(head[3]));
    host.send(withCrc("TSTOP:") + withCrc("TSTOP:"));
    EXPECT_EQ(host.readReply(), "OKAYA896\r");
    EXPECT_EQ(host.readReply(), Device::errorReply(0x0C));

    EXPECT_EQ(simulator->commands(), (Commands{"INIT:", "TSTART", "BX:1001", "TSTOP:", "TSTOP:"}));
    const Exchange tracking = simulator->exchanges().at(2);
    EXPECT_EQ(tracking.received + "\r", withCrc("BX:1001"));
    EXPECT_EQ(tracking.sent, reply);
    EXPECT_EQ(tracking.reply, reply);
    EXPECT_GE(tracking.measurement->frame, 1U);
    simulator->clearLog();
    EXPECT_TRUE(simulator->commands().empty());
    EXPECT_EQ(simulator->commandCount(), 5U);
    simulator->resetLink();
    EXPECT_EQ(host.readReply(), "RESETBE6F\r");
    EXPECT_EQ(simulator->state(), DeviceState::PowerOn);
}

TEST_F(Line, FaultsReachTheHost) {
    const struct {
        std::string rule;
        std::string received; // instead of "OKAYA896\r"
        bool hasEffect = true;
    } cases[] = {
        {"no-answer", ""},
        {"drop", ""},
        {"late=20", "OKAYA896\r"},
        {"cut=0", ""},
        {"cut=8", "OKAYA896"},
        {"cut=9", "OKAYA896\r", false},
        {"flip=0.0", "NKAYA896\r"},
        {"flip=8.7", "OKAYA896\x8D"},
        {"flip=9.0", "OKAYA896\r", false},
        {"crc", "OKAYA897\r"},
        {"error=0D", "ERROR0D8C03\r"},
        {"garbage-before=x00FF", std::string("\0\xFFOKAYA896\r", 11)},
        {"garbage-after=x3F", "OKAYA896\r?"},
        {"reply=0", "01400\r"},
        {"raw=0D", "\r"},
    };
    for (const auto& [rule, received, hasEffect] : cases) {
        SCOPED_TRACE(rule);
        start({(rule + "@TSTART").c_str()});
        HostClient host = connect();
        EXPECT_EQ(host.ask("INIT:"), "OKAY");
        host.sendCommand("TSTART:");
        host.sendCommand("PHSR:00");
        const std::string expected = received + withCrc("00");
        EXPECT_EQ(host.readCount(expected.size()), expected);
        const bool isExecuted = rule != "drop" && !rule.starts_with("error");
        EXPECT_EQ(simulator->state() == DeviceState::Tracking, isExecuted);
        EXPECT_EQ(simulator->exchanges().at(1).hadEffect, hasEffect);
        EXPECT_EQ(simulator->faultCount(), 1U);
    }
}

TEST_F(Line, StateOutlivesTheConnection) {
    start();
    {
        HostClient host = connect();
        EXPECT_EQ(host.ask("INIT:"), "OKAY");
        EXPECT_EQ(host.ask("PHRQ:*********1****"), "0A");
        host.send("half a comm");
    }
    auto next = std::make_unique<HostClient>(simulator->port());
    EXPECT_EQ(next->ask("PHSR:00"), "010A000");
    HostClient waiting = connect();
    waiting.sendCommand("PHSR:01");
    EXPECT_EQ(next->ask("PHSR:00"), "010A000");
    next.reset();
    EXPECT_EQ(waiting.readReply(), withCrc("00"));
}

TEST_P(EitherLine, EndsAndComesBack) {
    start({"close@PHSR#1", "unplug@PHSR#2"});
    {
        HostClient host = connect();
        EXPECT_EQ(host.ask("INIT:"), "OKAY");
        host.sendCommand("PHSR:00");
        EXPECT_EQ(host.readReply(), "");
        EXPECT_EQ(simulator->hasClient(), simulator->port() == 0) << "a terminal is back at once";
    }
    {
        HostClient host = connect();
        host.send(withCrc("PHSR:00") + withCrc("TSTART:"));
        EXPECT_EQ(host.readReply(), "");
        EXPECT_FALSE(simulator->hasClient());
        EXPECT_FALSE(connect().isOpen());
        EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
    }
    simulator->replug();
    HostClient host = connect();
    EXPECT_EQ(host.ask("PHSR:00"), "00");
    EXPECT_EQ(simulator->commands(), (Commands{"INIT:", "PHSR:00", "PHSR:00", "PHSR:00"}));
    simulator->closeConnection();
    EXPECT_EQ(host.readReply(), "");
}

TEST_P(EitherLine, HalfOpenIsDeafUntilResumed) {
    start({"half-open@INIT#1"});
    HostClient host = connect();
    host.sendCommand("INIT:");
    ASSERT_TRUE(simulator->waitForCommand("INIT", guard));
    host.sendCommand("BEEP:1");
    EXPECT_FALSE(simulator->waitForCommand("BEEP", std::chrono::milliseconds(100)));
    simulator->resume(); // what came meanwhile is thrown away
    EXPECT_EQ(host.ask("PHSR:00"), "00");
    simulator->addFault("half-open=1@BEEP#1");
    host.sendCommand("BEEP:1");
    while (!simulator->waitForCommand("PHSR:01", std::chrono::milliseconds(50))) {
        host.sendCommand("PHSR:01"); // those before the millisecond is over are lost
    }
    EXPECT_EQ(host.readReply(), withCrc("00"));
}

TEST_F(Line, NextConnectionIsServedAfterAHalfOpenOne) {
    start({"close@CONNECT#2"});
    HostClient first = connect();
    EXPECT_EQ(first.ask("INIT:"), "OKAY");
    simulator->halfOpen();
    EXPECT_EQ(connect().readReply(), "");
    EXPECT_EQ(connect().ask("PHSR:00"), "00");
}

TEST_F(Line, EveryRateIsToldFromTheOthers) {
    const std::pair<std::string, int> rates[] = {{"0", 9600},   {"1", 14400}, {"2", 19200},
                                                 {"3", 38400},  {"4", 57600}, {"5", 115200},
                                                 {"6", 921600}, {"7", 19200}, {"A", 230400}};
    useTerminal();
    start();
    HostClient host = connect();
    EXPECT_EQ(host.ask("INIT:"), "OKAY") << "9600 baud without handshake at power-on";
    for (const bool hasHandshake : {true, false}) {
        for (const auto& [code, baud] : rates) {
            EXPECT_EQ(host.ask("COMM:" + code + (hasHandshake ? "0001" : "0000")), "OKAY");
            host.setLine(baud, !hasHandshake);
            expectIgnored(host);
            host.setLine(baud == 19200 ? 9600 : 19200, hasHandshake);
            expectIgnored(host);
            host.setLine(baud, hasHandshake);
            EXPECT_EQ(host.ask("PHSR:00"), "00") << code;
        }
    }
}

// What a host does with a system that a crashed program left at another speed.
TEST_F(Line, BreakFollowsASpoiledInitOnly) {
    useTerminal();
    options.device.link = parseLinkSettings("50001");
    options.device.state = DeviceState::Tracking;
    start();
    HostClient host = connect();
    host.setLine(9600, false);
    host.flush(); // as when a host opens the port: no reason to take it for a break
    expectIgnored(host);
    host.flush();
    EXPECT_EQ(host.readReply(), "RESETBE6F\r");
    EXPECT_EQ(simulator->state(), DeviceState::PowerOn);
    EXPECT_EQ(simulator->link(), LinkSettings{});
    EXPECT_EQ(simulator->commands(), Commands{"BREAK"});
    for (const char* rule : {"no-answer@INIT#1", "crc@INIT#1", "drop@INIT#1"}) {
        simulator->clearFaults();
        simulator->addFault(rule);
        simulator->addFault("reply=WRONG@BREAK");
        simulator->clearLog();
        host.sendCommand("INIT:");
        ASSERT_TRUE(simulator->waitForCommand("INIT", guard));
        host.readCount(simulator->exchanges().at(0).sent.size());
        host.flush();
        EXPECT_EQ(host.readReply(), withCrc("WRONG")) << rule;
        EXPECT_EQ(host.ask("INIT:"), "OKAY") << rule;
    }
}

TEST_F(Line, TerminalPassesEveryByteInItsTime) {
    useTerminal();
    options.isPaced = true;
    start();
    HostClient host = connect();
    std::string bytes; // every value, those with a meaning to terminals among them
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    FaultRule everyByte;
    everyByte.fault.kind = FaultKind::Raw;
    everyByte.fault.bytes = bytes;
    simulator->addFault(everyByte);
    const auto begin = std::chrono::steady_clock::now();
    host.sendCommand("BX:0001");
    EXPECT_EQ(host.readCount(bytes.size()), bytes);
    const auto needed = std::chrono::milliseconds((bytes.size() + 12) * 10 * 1000 / 9600 - 3);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, needed);
    simulator->clearFaults();
    host.send(bytes.substr(0, 13) + bytes.substr(14) + "\r");
    EXPECT_EQ(host.readReply(), Device::errorReply(0x01));
}

} // namespace
} // namespace ndisim

#include "simulator/Crc.h"
#include "simulator/Simulator.h"
#include "tests/simulator/HostClient.h"

#include <gtest/gtest.h>

#include <atomic>

namespace ndisim {
namespace {

constexpr std::chrono::seconds guard{30};

SimulatorOptions networkOptions() {
    SimulatorOptions options;
    options.device.family = Family::Vega;
    return options;
}

std::string readBinary(HostClient& host) {
    const std::string head = host.readCount(6);
    if (head.size() < 6) {
        return head;
    }
    const auto length = static_cast<std::size_t>(static_cast<unsigned char>(head[2]) +
                                                 256 * static_cast<unsigned char>(head[3]));
    return head + host.readCount(length + 2);
}

TEST(TcpTest, CommandsAreAnsweredAndRecorded) {
    SimulatorOptions options = networkOptions();
    options.clock = [] { return std::chrono::nanoseconds(0); };
    Simulator simulator(options);
    simulator.start();
    EXPECT_EQ(simulator.address(), "127.0.0.1:" + std::to_string(simulator.port()));
    HostClient host = HostClient::connectTo(simulator.port());
    EXPECT_EQ(host.ask("INIT:"), "OKAY");
    host.send("TSTA");
    host.send("RT\r");
    EXPECT_EQ(host.readUntil(), "OKAYA896\r");
    host.sendCommand("BX:180F");
    const std::string reply = readBinary(host);
    host.send(withCrc("TSTOP:") + withCrc("TSTOP:"));
    EXPECT_EQ(host.readUntil(), "OKAYA896\r");
    EXPECT_EQ(host.readUntil(), Device::errorReply(0x0C));

    EXPECT_EQ(simulator.commands(),
              (std::vector<std::string>{"INIT:", "TSTART", "BX:180F", "TSTOP:", "TSTOP:"}));
    const Exchange tracking = simulator.exchanges().at(2);
    EXPECT_EQ(tracking.received, "BX:180F" + crcText(crc16("BX:180F")));
    EXPECT_EQ(tracking.sent, reply);
    EXPECT_EQ(tracking.reply, reply);
    EXPECT_EQ(tracking.measurement->frame, 1U);
    simulator.clearLog();
    EXPECT_TRUE(simulator.commands().empty());
    EXPECT_EQ(simulator.commandCount(), 5U);
}

TEST(TcpTest, StateOutlivesTheConnection) {
    Simulator simulator(networkOptions());
    simulator.start();
    {
        HostClient host = HostClient::connectTo(simulator.port());
        EXPECT_EQ(host.ask("INIT:"), "OKAY");
        EXPECT_EQ(host.ask("PHRQ:*********1****"), "0A");
        host.send("half a comm");
    }
    HostClient next = HostClient::connectTo(simulator.port());
    EXPECT_EQ(next.ask("PHSR:00"), "010A000");
    HostClient waiting = HostClient::connectTo(simulator.port());
    waiting.sendCommand("PHSR:01");
    EXPECT_EQ(next.ask("PHSR:00"), "010A000");
    { const HostClient gone = std::move(next); }
    EXPECT_EQ(waiting.readUntil(), withCrc("00"));
}

TEST(TcpTest, FaultsReachTheHost) {
    struct Case {
        const char* rule;
        std::string received; // up to the answer to the next command, which is "00"
    };
    const std::string good = "OKAYA896\r";
    const std::string next = withCrc("00");
    const Case cases[] = {
        {"no-answer@TSTART", next},
        {"drop@TSTART", next},
        {"cut=3@TSTART", "OKA" + next},
        {"flip=1.0@TSTART", "OJAYA896\r" + next},
        {"crc@TSTART", "OKAYA897\r" + next},
        {"error=12@TSTART", Device::errorReply(0x12) + next},
        {"garbage-before=x00FF@TSTART", std::string("\0\xFF", 2) + good + next},
        {"garbage-after=x3F@TSTART", good + "?" + next},
        {"late=20@TSTART", good + next},
        {"reply=@TSTART", withCrc("") + next},
        {"raw=0D@TSTART", "\r" + next},
    };
    for (const auto& c : cases) {
        Simulator simulator(networkOptions());
        simulator.addFault(c.rule);
        simulator.start();
        HostClient host = HostClient::connectTo(simulator.port());
        EXPECT_EQ(host.ask("INIT:"), "OKAY");
        host.sendCommand("TSTART:");
        host.sendCommand("PHSR:00");
        EXPECT_EQ(host.readCount(c.received.size()), c.received) << c.rule;
        const bool isExecuted = std::string_view(c.rule).substr(0, 4) != "drop" &&
                                std::string_view(c.rule).substr(0, 5) != "error";
        EXPECT_EQ(simulator.state() == DeviceState::Tracking, isExecuted) << c.rule;
        EXPECT_EQ(simulator.faultCount(), 1U) << c.rule;
    }
}

TEST(TcpTest, ConnectionsEndAndComeBack) {
    Simulator simulator(networkOptions());
    simulator.addFault("close@PHSR#1");
    simulator.addFault("unplug@PHSR#2");
    simulator.start();
    HostClient first = HostClient::connectTo(simulator.port());
    EXPECT_EQ(first.ask("INIT:"), "OKAY");
    first.sendCommand("PHSR:00");
    EXPECT_TRUE(first.isHungUp());
    HostClient second = HostClient::connectTo(simulator.port());
    second.send(withCrc("PHSR:00") + withCrc("TSTART:"));
    EXPECT_TRUE(second.isHungUp());
    EXPECT_EQ(simulator.commands(), (std::vector<std::string>{"INIT:", "PHSR:00", "PHSR:00"}));
    EXPECT_FALSE(HostClient::connectTo(simulator.port()).send("x"));
    simulator.replug();
    HostClient third = HostClient::connectTo(simulator.port());
    EXPECT_EQ(third.ask("PHSR:00"), "00");
    simulator.closeConnection();
    EXPECT_TRUE(third.isHungUp());
}

TEST(TcpTest, HalfOpenConnectionIsDeafUntilResumed) {
    Simulator simulator(networkOptions());
    simulator.addFault("half-open@INIT#1");
    simulator.start();
    HostClient first = HostClient::connectTo(simulator.port());
    first.sendCommand("INIT:");
    ASSERT_TRUE(simulator.waitForCommand("INIT", guard));
    first.sendCommand("BEEP:1");
    simulator.resume(); // what came meanwhile is thrown away
    EXPECT_EQ(first.ask("PHSR:00"), "00");

    simulator.halfOpen();
    HostClient second = HostClient::connectTo(simulator.port());
    EXPECT_EQ(second.ask("PHSR:00"), "00") << "the next connection is served";
    simulator.clearFaults();
    simulator.addFault("close@CONNECT");
    { const HostClient gone = std::move(second); }
    EXPECT_TRUE(HostClient::connectTo(simulator.port()).isHungUp());
}

TEST(TcpTest, AnswersInPiecesArriveWhole) {
    SimulatorOptions options = networkOptions();
    options.chunk = 7;
    options.device.strays = 50;
    options.device.state = DeviceState::Tracking;
    Simulator simulator(options);
    simulator.start();
    HostClient host = HostClient::connectTo(simulator.port());
    host.sendCommand("BX:1001");
    host.sendCommand("TX:1001");
    const std::string binary = readBinary(host);
    const std::string text = host.readUntil();
    EXPECT_EQ(binary, simulator.exchanges().at(0).reply);
    EXPECT_EQ(text, simulator.exchanges().at(1).reply);
}

TEST(TcpTest, DeviceCanBeChangedWhileItRuns) {
    SimulatorOptions options = networkOptions();
    options.device.state = DeviceState::Tracking;
    std::atomic<std::int64_t> now{0};
    options.clock = [&] { return std::chrono::nanoseconds(now.load()); };
    Simulator simulator(options);
    simulator.start();
    HostClient host = HostClient::connectTo(simulator.port());
    EXPECT_EQ(host.ask("TX:1001"), "00000000");
    simulator.withDevice([](Device& device) { device.setStrays(1); });
    EXPECT_EQ(host.ask("TX:1001"), "00010-018000-018000-1700000000");
    now = 2'000'000'000;
    EXPECT_EQ(simulator.frameNumber(), 121U);
    simulator.resetLink();
    EXPECT_EQ(host.readUntil(), "RESETBE6F\r");
    EXPECT_EQ(simulator.state(), DeviceState::PowerOn);
}

TEST(TcpTest, StartFailuresNameTheirCause) {
    Simulator first(networkOptions());
    first.start();
    SimulatorOptions taken = networkOptions();
    taken.address = TcpAddress{first.port()};
    Simulator second(taken);
    try {
        second.start();
        ADD_FAILURE() << "the port was taken";
    } catch (const StartError& error) {
        EXPECT_NE(std::string(error.what()).find(first.address()), std::string::npos);
    }
    SimulatorOptions traced = networkOptions();
    traced.trace = "/nonexistent/trace.txt";
    EXPECT_THROW(Simulator{traced}, StartError);
}

} // namespace
} // namespace ndisim

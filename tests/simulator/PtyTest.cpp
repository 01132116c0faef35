#include "simulator/Crc.h"
#include "simulator/Simulator.h"
#include "tests/simulator/HostClient.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace ndisim {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds guard{30};

class PtyTest : public ::testing::Test {
protected:
    PtyTest() {
        std::string pattern = fs::temp_directory_path() / "ndisim-XXXXXX";
        m_folder = ::mkdtemp(pattern.data());
    }
    ~PtyTest() override { fs::remove_all(m_folder); }

    SimulatorOptions serialOptions(Family family = Family::Vicra) const {
        SimulatorOptions options;
        options.device.family = family;
        options.address = PtyAddress{link()};
        return options;
    }
    fs::path link() const { return m_folder / "port"; }
    HostClient open() const { return HostClient::openTerminal(link()); }

    // Sends a command that the device is not to hear, and waits until it has not heard it.
    static void expectIgnored(Simulator& simulator, HostClient& host, std::string_view command) {
        const std::size_t before = simulator.ignoredBytes();
        const std::size_t expected = before + withCrc(command).size();
        host.sendCommand(command);
        const auto end = std::chrono::steady_clock::now() + guard;
        while (simulator.ignoredBytes() < expected && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        EXPECT_EQ(simulator.ignoredBytes(), expected) << command;
    }

private:
    fs::path m_folder;
};

TEST_F(PtyTest, EveryRateIsToldFromTheOthers) {
    const std::pair<char, int> rates[] = {{'0', 9600},   {'1', 14400}, {'2', 19200},
                                          {'3', 38400},  {'4', 57600}, {'5', 115200},
                                          {'6', 921600}, {'7', 19200}, {'A', 230400}};
    Simulator simulator(serialOptions());
    simulator.start();
    EXPECT_EQ(simulator.address(), link().string());
    HostClient host = open();
    EXPECT_EQ(host.ask("INIT:"), "OKAY") << "9600 baud without handshake at power-on";
    for (const bool hasHandshake : {true, false}) {
        for (const auto& [code, baud] : rates) {
            const std::string settings = std::string(1, code) + "000" + (hasHandshake ? "1" : "0");
            EXPECT_EQ(host.ask("COMM:" + settings), "OKAY");
            host.setLine(baud, !hasHandshake);
            expectIgnored(simulator, host, "INIT:");
            host.setLine(baud == 19200 ? 9600 : 19200, hasHandshake);
            expectIgnored(simulator, host, "INIT:");
            host.setLine(baud, hasHandshake);
            EXPECT_EQ(host.ask("PHSR:00"), "00") << settings;
        }
    }
}

// What a host does with a system that a crashed program left at another speed.
TEST_F(PtyTest, BreakAwakesAStaleLink) {
    SimulatorOptions options = serialOptions();
    options.device.link = parseLinkSettings("50001");
    options.device.state = DeviceState::Tracking;
    Simulator simulator(options);
    simulator.start();
    HostClient host = open();
    host.setLine(9600, false);
    expectIgnored(simulator, host, "INIT:");
    host.flush();
    host.flush();
    EXPECT_EQ(host.readUntil(), "RESETBE6F\r");
    EXPECT_EQ(simulator.state(), DeviceState::PowerOn);
    EXPECT_EQ(simulator.link(), LinkSettings{});
    EXPECT_EQ(simulator.commands(), std::vector<std::string>{"BREAK"});
    EXPECT_EQ(host.ask("INIT:"), "OKAY");
}

TEST_F(PtyTest, BreakFollowsASpoiledInitOnly) {
    Simulator simulator(serialOptions());
    simulator.start();
    HostClient host = open();
    EXPECT_EQ(host.ask("INIT:"), "OKAY");
    host.flush(); // as when a host opens the port: no reason to take it for a break
    for (const char* rule : {"no-answer@INIT#1", "crc@INIT#1", "drop@INIT#1"}) {
        simulator.clearFaults();
        simulator.addFault(rule);
        simulator.clearLog();
        host.sendCommand("INIT:");
        ASSERT_TRUE(simulator.waitForCommand("INIT", guard));
        host.readCount(simulator.exchanges().at(0).sent.size());
        host.flush();
        EXPECT_EQ(host.readUntil(), "RESETBE6F\r") << rule;
        EXPECT_EQ(host.ask("INIT:"), "OKAY") << rule;
    }
    simulator.addFault("no-answer@INIT");
    simulator.addFault("reply=WRONG@BREAK");
    simulator.clearLog();
    host.sendCommand("INIT:");
    ASSERT_TRUE(simulator.waitForCommand("INIT", guard));
    host.flush();
    EXPECT_EQ(host.readUntil(), withCrc("WRONG"));
    EXPECT_EQ(simulator.commands(), (std::vector<std::string>{"INIT:", "BREAK"}));
}

TEST_F(PtyTest, BinaryRepliesPassUnchanged) {
    SimulatorOptions options = serialOptions();
    options.device.state = DeviceState::Tracking;
    Simulator simulator(options);
    simulator.start();
    HostClient host = open();
    std::string bytes; // every value, those with a meaning to terminals among them
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    FaultRule everyByte;
    everyByte.fault.kind = FaultKind::Raw;
    everyByte.fault.bytes = bytes;
    simulator.addFault(everyByte);
    host.sendCommand("BX:0001");
    EXPECT_EQ(host.readCount(bytes.size()), bytes);
    simulator.clearFaults();
    host.send(bytes.substr(0, 13) + bytes.substr(14) + "\r");
    EXPECT_EQ(host.readUntil(), Device::errorReply(0x01));
}

TEST_F(PtyTest, LineHangsUpAndComesBack) {
    Simulator simulator(serialOptions());
    simulator.addFault("unplug@PHSR#1");
    simulator.addFault("close@PHSR#2");
    simulator.start();
    {
        HostClient host = open();
        EXPECT_EQ(host.ask("INIT:"), "OKAY");
        host.sendCommand("PHSR:00");
        EXPECT_TRUE(host.isHungUp());
        EXPECT_FALSE(fs::exists(fs::symlink_status(link())));
        EXPECT_FALSE(simulator.hasClient());
    }
    simulator.replug();
    {
        HostClient host = open();
        host.sendCommand("PHSR:00");
        EXPECT_TRUE(host.isHungUp());
    }
    EXPECT_TRUE(simulator.hasClient()) << "a closed line is there again at once";
    EXPECT_EQ(open().ask("PHSR:00"), "00");
    simulator.stop();
    EXPECT_FALSE(fs::exists(fs::symlink_status(link())));
    EXPECT_EQ(simulator.commandCount(), 4U);
}

TEST_F(PtyTest, HalfOpenLineIsDeafUntilResumed) {
    Simulator simulator(serialOptions());
    simulator.start();
    HostClient host = open();
    simulator.halfOpen();
    host.sendCommand("INIT:");
    EXPECT_FALSE(simulator.waitForCommand("INIT", std::chrono::milliseconds(300)));
    simulator.resume();
    EXPECT_EQ(host.ask("BEEP:1"), "1");
    EXPECT_EQ(simulator.commands(), std::vector<std::string>{"BEEP:1"});
    simulator.addFault("half-open=1@BEEP#1");
    host.sendCommand("BEEP:1");
    while (!simulator.waitForCommand("INIT:", std::chrono::milliseconds(50))) {
        host.sendCommand("INIT:"); // those before the millisecond is over are lost
    }
    EXPECT_EQ(host.readUntil(), "OKAYA896\r");
}

// A paced answer is not there before its bytes and those of the command have passed.
TEST_F(PtyTest, PacedLineTakesItsTime) {
    SimulatorOptions options = serialOptions();
    options.isPaced = true;
    Simulator simulator(options);
    simulator.start();
    HostClient host = open();
    host.ask("INIT:");
    const auto timeOf = [&](const std::string& command, int times) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < times; ++i) {
            host.ask(command);
        }
        return std::chrono::steady_clock::now() - start;
    };
    const std::string list = host.ask("SFLIST:03");
    EXPECT_GE(timeOf("SFLIST:03", 1),
              std::chrono::milliseconds((list.size() + 5 + 14) * 10 * 1000 / 9600 - 3));
    host.ask("COMM:50000");
    host.setLine(115200, false);
    EXPECT_GE(timeOf("INIT:", 20), std::chrono::microseconds(20 * 19 * 10 * 1'000'000LL / 115200));
}

TEST_F(PtyTest, LinkThatCannotBeMade) {
    std::ofstream(link()) << "precious";
    Simulator simulator(serialOptions());
    EXPECT_THROW(simulator.start(), StartError);
    EXPECT_EQ(fs::file_size(link()), 8U);
    fs::remove(link());
    fs::create_symlink("/nonexistent", link()); // left behind by a simulator that was killed
    Simulator next(serialOptions());
    next.start();
    EXPECT_EQ(open().ask("INIT:"), "OKAY");
}

} // namespace
} // namespace ndisim

#pragma once

#include "protocol/platform/platform.h"
#include "simulator/Simulator.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/Wire.h"

#include <atomic>
#include <gtest/gtest.h>

// A device of the library and the simulated one that it talks to: one with a tool in its first port
// and a new frame at every look. Each test begins with a fresh connection to it.
class Connection : public testing::Test {
protected:
    explicit Connection(ndisim::SimulatorOptions options = {}) :
        simulator(withTool(std::move(options))) {
        const protocol::platform::SignalBlock noSignals; // they are for the thread under test
        simulator.start();
    }

    void SetUp() override { connect(); }

    void connect() {
        const bool isSerial = simulator.port() == 0;
        device.reset(isSerial ? deviceOpenSerial(simulator.address().c_str())
                              : deviceOpenNetwork("127.0.0.1", simulator.port()));
        ASSERT_TRUE(device);
        if (!isSerial) {
            deviceSetNetworkTimeout(device.get(), 20000); // only ends a test that has gone wrong
        }
    }

    std::int32_t errorOf(const std::string& command) {
        deviceCommand(device.get(), "%s", command.c_str());
        return deviceGetError(device.get());
    }

    void expectGood(const std::vector<std::string>& commands) {
        for (const std::string& command : commands) {
            EXPECT_EQ(errorOf(command), 0) << command;
        }
    }

    // Exactly these bytes for every command, until clearFaults().
    void alwaysAnswer(const std::string& bytes) {
        ndisim::FaultRule rule;
        rule.fault.kind = ndisim::FaultKind::Raw;
        rule.fault.bytes = bytes;
        simulator.clearFaults();
        simulator.addFault(rule);
    }

    // Every command as it arrived, with its carriage return.
    std::vector<std::string> received() const {
        std::vector<std::string> commands;
        for (const ndisim::Exchange& exchange : simulator.exchanges()) {
            commands.push_back(exchange.received + "\r");
        }
        return commands;
    }

    ndisim::Simulator simulator;
    RecordPtr device;

private:
    static ndisim::SimulatorOptions withTool(ndisim::SimulatorOptions options) {
        options.device.family = ndisim::Family::Aurora;
        options.device.tools = {ndisim::parseWiredTool("1")};
        options.device.rateHz = 1;
        options.clock = [] {
            static std::atomic<int> looks;
            return std::chrono::seconds(++looks);
        };
        return options;
    }
};

// The commands after which the tool is tracked.
inline const std::vector<std::string> kStartTracking = {"INIT:", "PINIT:0A", "PENA:0AD", "TSTART:"};

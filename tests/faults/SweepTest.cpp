// Answers that are cut or have a bit inverted at every byte.
#include "protocol/device.h"
#include "tests/faults/FaultRig.h"

#include <cstddef>
#include <cstring>
#include <tuple>

namespace Morvalin {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::StartsWith;

enum Spoiling { Cut, Flip };

/// All bits take turns but the one that only changes the case of a letter, and a CRC may be in
/// either case.
std::string rule(Spoiling spoiling, std::size_t byte) {
    const std::size_t bit = byte % 7 + (byte % 7 < 5 ? 0 : 1);
    return spoiling == Cut ? "cut=" + std::to_string(byte)
                           : "flip=" + std::to_string(byte) + "." + std::to_string(bit);
}

/// All stored replies of a record.
std::string storesOf(const DeviceRecord* device) {
    const auto* const begin = reinterpret_cast<const char*>(device->GxTransforms);
    const auto* const end = reinterpret_cast<const char*>(device + 1);
    return {begin, end};
}

template <int N>
struct Channel {
    FaultRig<N>& rig;
    DeviceRecord* const device = N == Vega ? deviceOpenNetwork("127.0.0.1", rig.simulator.port())
                                           : deviceOpenSerial(rig.simulator.address().c_str());

    ~Channel() { N == Vega ? deviceCloseNetwork(device) : deviceCloseSerial(device); }

    std::string exchange(const std::string& command, int timeoutMs = 5000) {
        rig.simulator.clearLog();
        N == Vega ? deviceSetNetworkTimeout(device, timeoutMs)
                  : static_cast<void>(serialSetTimeout(device->serialPort, timeoutMs));
        const std::string reply = deviceCommand(device, "%s", command.c_str());
        rig.settle(command);
        return reply;
    }

    void expectGood(const std::string& command) {
        const std::string reply = exchange(command);
        EXPECT_EQ(deviceGetError(device), 0) << command;
        EXPECT_EQ(reply, answer()) << command;
    }

    /// The text that the device answered.
    std::string answer() const {
        const std::string reply = rig.simulator.exchanges().back().reply;
        return reply.substr(0, reply.size() - 5);
    }

    /// Puts the device back to where it was before the command.
    void undo(const std::string& command) {
        if (command == "TSTART:")
            expectGood("TSTOP:");
        else if (command == "TSTOP:")
            expectGood("TSTART:");
        else if (command.starts_with("PHRQ"))
            expectGood("PHF:" + answer().substr(0, 2));
        else if (command.starts_with("PHF"))
            expectGood("PHRQ:*********1****");
    }

    void spoil(const std::string& command, Spoiling spoiling, std::size_t byte) {
        SCOPED_TRACE(command + " " + rule(spoiling, byte));
        const std::string before = storesOf(device);
        rig.simulator.addFault(rule(spoiling, byte));
        exchange(command, spoiling == Cut ? 15 : 200);
        rig.simulator.clearFaults();
        const int code = deviceGetError(device);
        EXPECT_TRUE(code == 0x400 || (spoiling == Flip && code == 0x100)) << code;
        EXPECT_TRUE(storesOf(device) == before);
        undo(command);
        expectGood("VER:0");
    }
};

/// All but the measurements. The link keeps its speed, since the host does not follow after a
/// spoiled answer. Of a tool definition the first and the last chunk are spoiled.
template <int N>
void sweepSetUp(Spoiling spoiling) {
    FaultRig<N> rig;
    rig.healthySession();
    const auto session = rig.healthySession(); // which has handles of the first to free
    Channel<N> channel{rig};
    ASSERT_NE(channel.device, nullptr);
    int chunks = 0;
    for (const ndisim::Exchange& exchange : session) {
        const std::string key = keyOf(exchange.command);
        if (key == "COMM:0" || key == "CONNECT" || key == "BX")
            continue;
        const std::string command = key == "COMM:5" ? "COMM:00000" : exchange.command;
        const bool isSwept = key != "PVWR" || ++chunks == 1 || chunks == 16;
        for (std::size_t byte = 0; isSwept && byte < exchange.reply.size(); ++byte)
            channel.spoil(command, spoiling, byte);
        channel.expectGood(command);
    }
}

/// The pose is that of the answer to the last command, not of one before.
template <int N>
void expectNewestPose(FaultRig<N>& rig) {
    const ndisim::Exchange last = rig.simulator.exchanges().back();
    const ndisim::Pose& sent = last.measurement->tools.at(0).pose;
    const Matrix4 received = rig.instruments()[0].matrix;
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(received(axis, 3), sent.position[static_cast<std::size_t>(axis)], 0.0051);
}

template <int N>
void sweepMeasurements(Spoiling spoiling, bool isBinary) {
    FaultRig<N> rig;
    rig.stream.setBinaryQueryMode(isBinary);
    ASSERT_TRUE(rig.stream.open());
    ASSERT_TRUE(rig.stream.startImpl());
    const auto step = [&](int frames) {
        const int before = rig.frames;
        rig.simulator.clearLog();
        rig.nextFrame();
        rig.stream.doWork();
        rig.settle(isBinary ? "BX" : "TX");
        EXPECT_EQ(rig.frames - before, frames);
        if (frames > 0)
            expectNewestPose(rig);
    };
    step(1);
    const std::size_t length = rig.simulator.exchanges().back().sent.size();
    EXPECT_GT(length, N == Aurora ? 40U : 100U);
    rig.log.take();
    for (std::size_t byte = 0; byte < length; ++byte) {
        SCOPED_TRACE(rule(spoiling, byte));
        setAnswerTimeouts(rig.simulator.address(), spoiling == Cut ? 15ms : 200ms);
        const auto before = rig.instruments()[0].matrix;
        rig.simulator.addFault(rule(spoiling, byte));
        step(0);
        const std::string error = "[4] NDI Tracking System Error: ";
        EXPECT_THAT(rig.log.take(),
                    ElementsAre(AnyOf(StartsWith(error + "1024 "),
                                      StartsWith(error + (spoiling == Cut ? "1024 " : "256 ")))));
        EXPECT_EQ(rig.instruments()[0].matrix, before);
        rig.simulator.clearFaults();
        setAnswerTimeouts(rig.simulator.address(), 5000ms);
        step(1);
    }
    setAnswerTimeouts(rig.simulator.address(), 15ms);
    rig.simulator.addFault("late=30");
    step(0);
    rig.simulator.clearFaults();
    setAnswerTimeouts(rig.simulator.address(), 5000ms);
    if (N != Vega)
        std::this_thread::sleep_for(60ms); // the late answer waits in front of the next one
    step(1);
    EXPECT_TRUE(rig.stream.stopImpl());
}

class FaultySweep : public testing::TestWithParam<std::tuple<int, Spoiling>> {};

TEST_P(FaultySweep, SetUpAnswers) {
    const auto& [number, spoiling] = GetParam();
    forFamily(number, [&]<int N>() { sweepSetUp<N>(spoiling); });
}

TEST_P(FaultySweep, BinaryMeasurements) {
    const auto& [number, spoiling] = GetParam();
    forFamily(number, [&]<int N>() { sweepMeasurements<N>(spoiling, true); });
}

TEST_P(FaultySweep, TextMeasurements) {
    const auto& [number, spoiling] = GetParam();
    forFamily(number, [&]<int N>() { sweepMeasurements<N>(spoiling, false); });
}

INSTANTIATE_TEST_SUITE_P(EveryByte, FaultySweep,
                         testing::Combine(testing::Values(Vicra, Vega, Aurora),
                                          testing::Values(Cut, Flip)),
                         [](const auto& cell) {
                             return familyName(std::get<0>(cell.param)) +
                                    (std::get<1>(cell.param) == Cut ? "Cut" : "Flip");
                         });

} // namespace
} // namespace Morvalin

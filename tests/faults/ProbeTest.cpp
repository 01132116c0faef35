// Every fault while a serial port is searched for a device, and while a connection is made.
#include "protocol/device.h"
#include "tests/faults/FaultRig.h"

#include <set>

namespace Morvalin {
namespace {

/// A fault at a command of the probe, or at the banner that follows a break, and the codes that the
/// probe may end with. A first INIT that fails is made good by a reset.
struct ProbeRow {
    const char* name;
    const char* fault;
    std::set<int> first;   ///< at the first INIT
    std::set<int> banner;  ///< after a break
    std::set<int> version; ///< at GETINFO
};

constexpr int noConnection = 0x200;
constexpr int timeout = 0x400;
constexpr int notFound = 0x800;
const std::set<int> gone = {timeout, 0x500, 0x600, notFound};

// Banner faults that end in silence cost 7 s each.
const ProbeRow probeRows[] = {
    {"NoAnswer", "no-answer", {0}, {timeout}, {timeout}},
    {"Dropped", "drop", {0}, {timeout}, {timeout}},
    {"Late", "late=300", {0, notFound}, {0}, {timeout}}, // may come in the middle of the reset
    {"DeviceError", "error=02", {0}, {notFound}, {0}},   // older firmware: VER instead
    {"GarbageBefore", "garbage-before=x414243", {0}, {notFound}, {notFound}},
    {"GarbageAfter", "garbage-after=x414243", {0}, {timeout, notFound}, {0, timeout}},
    {"Closed", "close", gone, gone, gone},
    {"HalfOpen", "half-open", {timeout}, {timeout}, {timeout}},
    {"Unplugged", "unplug", gone, gone, gone},
};

struct ProbeRig {
    TemporaryFolder folder;
    ndisim::Simulator simulator;
    Resources before;

    explicit ProbeRig(ndisim::Family family) : simulator(options(family)) {
        simulator.start();
        before = Resources();
    }

    ndisim::SimulatorOptions options(ndisim::Family family) const {
        ndisim::SimulatorOptions options;
        options.device.family = family;
        options.address = ndisim::PtyAddress{folder.path / "line"};
        return options;
    }

    int probe(const std::string& fault = {}) {
        if (!fault.empty())
            simulator.addFault(fault);
        const int code = deviceProbePort(simulator.address().c_str());
        simulator.clearFaults();
        return code;
    }

    void expectCode(const std::string& fault, const std::set<int>& codes) {
        SCOPED_TRACE(fault);
        // A break comes only after an INIT without an answer.
        if (fault.find("@BREAK") != std::string::npos)
            simulator.addFault("no-answer@INIT#1");
        const int code = probe(fault);
        EXPECT_TRUE(codes.contains(code)) << code;
        simulator.replug();
        simulator.resume();
        if (fault.starts_with("late"))
            std::this_thread::sleep_for(400ms);
        EXPECT_EQ(probe(), 0);
        EXPECT_EQ(Resources(), before);
    }
};

class FaultyProbe : public testing::TestWithParam<std::tuple<ndisim::Family, ProbeRow>> {};

TEST_P(FaultyProbe, EndsWithACode) {
    const auto& [family, row] = GetParam();
    ProbeRig rig(family);
    const std::string fault = row.fault;
    rig.expectCode(fault + "@INIT#1", row.first);
    rig.expectCode(fault + "@BREAK", row.banner);
    rig.expectCode(fault + "@GETINFO", row.version);
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultyProbe,
                         testing::Combine(testing::Values(ndisim::Family::Vicra,
                                                          ndisim::Family::Aurora),
                                          testing::ValuesIn(probeRows)),
                         [](const auto& cell) {
                             const bool isVicra = std::get<0>(cell.param) == ndisim::Family::Vicra;
                             return std::string(isVicra ? "Vicra" : "Aurora") +
                                    std::get<1>(cell.param).name;
                         });

constexpr int initLength = 9;
constexpr int bannerLength = 10;

TEST(FaultyProbe, EveryByteOfTheAnswers) {
    ProbeRig rig(ndisim::Family::Vicra);
    ASSERT_EQ(rig.probe(), 0);
    const auto version = static_cast<int>(rig.simulator.exchanges().back().reply.size());
    for (int byte = 0; byte < version; ++byte) {
        const std::string at = "=" + std::to_string(byte);
        SCOPED_TRACE(at);
        // Nobody checks the CRC here: the name must be right and the answer must end.
        EXPECT_EQ(rig.probe("cut" + at + "@GETINFO"), timeout);
        EXPECT_EQ(rig.probe("flip" + at + ".1@GETINFO"), byte < 8             ? notFound
                                                         : byte < version - 1 ? 0
                                                                              : timeout);
        if (byte < initLength) {
            EXPECT_EQ(rig.probe("cut" + at + "@INIT#1"), 0);
            EXPECT_EQ(rig.probe("flip" + at + ".1@INIT#1"), 0);
        }
    }
    EXPECT_EQ(Resources(), rig.before);
}

class FaultyBanner : public testing::TestWithParam<int> {};

TEST_P(FaultyBanner, IsNoDevice) {
    ProbeRig rig(ndisim::Family::Aurora);
    const std::string at = "=" + std::to_string(GetParam());
    rig.expectCode("cut" + at + "@BREAK", {timeout});
    rig.expectCode("flip" + at + ".1@BREAK", {GetParam() < bannerLength - 1 ? notFound : timeout});
}

INSTANTIATE_TEST_SUITE_P(EveryByte, FaultyBanner, testing::Range(0, bannerLength));

/// No bytes pass while a connection is made, so only the connection itself can fail.
TEST(FaultyConnect, IsReportedAndTheNextOneWorks) {
    FaultRig<Vega> rig;
    rig.healthySession();
    const Resources before;
    for (const char* fault : {"close@CONNECT", "half-open@CONNECT", "unplug@CONNECT"}) {
        SCOPED_TRACE(fault);
        rig.simulator.addFault(fault);
        rig.stream.open();
        EXPECT_TRUE(rig.stream.close());
        EXPECT_THAT(rig.log.take(4), testing::Contains(testing::StartsWith("[4] ")));
        rig.simulator.clearFaults();
        rig.simulator.replug();
        rig.simulator.resume();
        rig.healthySession();
        EXPECT_TRUE(eventually([&] { return Resources() == before; }));
    }
    rig.simulator.unplug();
    EXPECT_FALSE(rig.stream.open());
    EXPECT_THAT(rig.log.take(4), testing::ElementsAre("[4] Connection could not be established!"));
    rig.simulator.replug();
    rig.healthySession();
}

} // namespace
} // namespace Morvalin

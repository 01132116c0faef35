#include "tests/simulator/DeviceHarness.h"

#include "simulator/Encoding.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>

namespace ndisim {
namespace {

using std::chrono::milliseconds;

std::uint32_t word(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) {
        value = value << 8U | static_cast<unsigned char>(bytes.at(at + i));
    }
    return value;
}

// A binary reply with option 0x0001 or 0x0801 and one tool in sight.
struct OneTool {
    unsigned status;
    Position position;
    std::uint32_t portStatus;
    std::uint32_t frame;
};

OneTool poll(DeviceHarness& harness, const char* command = "BX 0001") {
    const std::string reply = harness.device.execute(command).bytes;
    OneTool tool{};
    tool.status = static_cast<unsigned char>(reply.at(8));
    std::size_t at = 9;
    if (tool.status == 1) {
        for (std::size_t i = 0; i < 3; ++i) {
            tool.position[i] = std::bit_cast<float>(word(reply, at + 16 + 4 * i));
        }
        at += 32;
    }
    if (tool.status != 4) {
        tool.portStatus = word(reply, at);
        tool.frame = word(reply, at + 4);
    }
    return tool;
}

void startTracking(DeviceHarness& harness) {
    EXPECT_EQ(harness.ask("INIT:"), "OKAY");
    harness.loadTool(0x0A, "1");
    EXPECT_EQ(harness.ask("TSTART:"), "OKAY");
}

TEST(TrackingTest, FramesCountAtTheFamilysRate) {
    struct Case {
        Family family;
        double rateHz;
        int afterMs;
        std::uint32_t frame;
    };
    const Case cases[] = {
        {Family::Vicra, 0, 0, 1},
        {Family::Vicra, 0, 49, 1},
        {Family::Vicra, 0, 50, 2},
        {Family::Vicra, 0, 150, 4},
        {Family::Vega, 0, 1000, 61},
        {Family::Aurora, 0, 25, 2},
        {Family::Aurora, 250, 1000, 251},
        {Family::Vega, 7, 3000, 22},
        {Family::Vega, 0, 86400000, 60U * 86400 + 1},
    };
    for (const auto& c : cases) {
        DeviceOptions options = optionsOf(c.family);
        options.rateHz = c.rateHz;
        DeviceHarness harness(options);
        runSteps(harness, {{"INIT:", "OKAY"}, {"TSTART:", "OKAY"}});
        harness.now += milliseconds(c.afterMs);
        EXPECT_EQ(harness.device.frameNumber(), c.frame) << c.afterMs << " ms";
    }
}

TEST(TrackingTest, FramesStandStillBetweenTracking) {
    DeviceHarness vega(optionsOf(Family::Vega));
    startTracking(vega);
    vega.now += milliseconds(500);
    EXPECT_EQ(poll(vega).frame, 31U);
    EXPECT_EQ(vega.ask("TSTOP:"), "OKAY");
    vega.now += milliseconds(5000);
    EXPECT_EQ(vega.device.frameNumber(), 31U);
    EXPECT_EQ(vega.ask("TSTART:"), "OKAY");
    EXPECT_EQ(poll(vega).frame, 32U);
    runSteps(vega, {{"TSTOP:", "OKAY"}, {"TSTART:80", "OKAY"}});
    EXPECT_EQ(poll(vega).frame, 1U);
    vega.device.resetLink();
    EXPECT_EQ(vega.device.frameNumber(), 0U);
}

TEST(TrackingTest, PosesFollowThePath) {
    DeviceHarness vega(optionsOf(Family::Vega));
    startTracking(vega);
    for (int i = 0; i < 50; ++i) {
        vega.now += milliseconds(333);
        const OneTool tool = poll(vega);
        const PathPoint point = locateOnPath(Family::Vega, tool.position);
        EXPECT_EQ(point.place, 1);
        EXPECT_EQ(point.frame, tool.frame % pathPeriod);
    }
}

TEST(TrackingTest, MeasurementHoldsWhatWasSent) {
    DeviceOptions options = optionsOf(Family::Vicra);
    options.strays = 60;
    options.hasSingleStray = true;
    DeviceHarness vicra(options);
    startTracking(vicra);
    for (const char* command : {"BX 180F", "TX 1807", "GX B00F"}) {
        const Outcome outcome = vicra.device.execute(command);
        ASSERT_TRUE(outcome.measurement.has_value());
        const Measurement& measurement = *outcome.measurement;
        EXPECT_EQ(measurement.strays.size(), 60U);
        EXPECT_EQ(measurement.tools.at(0).markers.size(), 4U);
        if (command[0] == 'B') {
            EXPECT_EQ(outcome.bytes, encodeBx(measurement, 0x180F));
        } else if (command[0] == 'T') {
            EXPECT_EQ(checkedText(outcome.bytes), encodeTx(measurement, 0x1807));
        }
    }
    EXPECT_EQ(vicra.device.execute("BX 1").bytes, Device::errorReply(0x07));
    EXPECT_EQ(vicra.device.execute("BX 00G0").bytes, Device::errorReply(0x23));
}

TEST(TrackingTest, ToolsThatAreNotWell) {
    struct Case {
        const char* rule;
        std::uint32_t frame;
        const char* command;
        unsigned status;
        std::uint32_t portStatus;
    };
    const Case cases[] = {
        {"1:missing", 5, "BX 0001", 2, 0x31},
        {"*:missing:10-19", 9, "BX 0001", 1, 0x31},
        {"*:missing:10-19", 10, "BX 0001", 2, 0x31},
        {"*:missing:10-19", 19, "BX 0001", 2, 0x31},
        {"*:missing:10-19", 20, "BX 0001", 1, 0x31},
        {"1:missing:10-19/100", 115, "BX 0001", 2, 0x31},
        {"1:missing:10-19/100", 120, "BX 0001", 1, 0x31},
        {"2:missing", 5, "BX 0001", 1, 0x31},
        {"1:disabled:1-1/2", 3, "BX 0001", 4, 0},
        {"1:out-of-volume", 3, "BX 0001", 2, 0x71},
        {"1:out-of-volume", 3, "BX 0801", 1, 0x71},
    };
    for (const auto& c : cases) {
        DeviceOptions options = optionsOf(Family::Vega);
        options.rateHz = 100;
        options.toolStates = {parseToolState(c.rule)};
        DeviceHarness vega(options);
        startTracking(vega);
        vega.now += milliseconds(10) * (c.frame - 1);
        const OneTool tool = poll(vega, c.command);
        EXPECT_EQ(tool.status, c.status) << c.rule << " in frame " << c.frame;
        EXPECT_EQ(tool.portStatus, c.portStatus) << c.rule << " in frame " << c.frame;
    }
}

} // namespace
} // namespace ndisim

#include "tests/simulator/DeviceHarness.h"

#include <cstring>

namespace ndisim {
namespace {

using std::chrono::milliseconds;

struct OneTool {
    unsigned status = 0;
    std::uint32_t portStatus = 0;
    std::uint32_t frame = 0;
};

// From a binary reply with option 0x0001 or 0x0801 and one tool.
OneTool poll(DeviceHarness& harness, const char* command = "BX 0001") {
    const std::string reply = harness.device.execute(command).bytes;
    OneTool tool;
    tool.status = static_cast<unsigned char>(reply.at(8));
    const char* next = &reply.at(9);
    if (tool.status == 1) {
        next += 8 * sizeof(float);
    }
    if (tool.status != 4) {
        std::memcpy(&tool.portStatus, next, 4);
        std::memcpy(&tool.frame, next + 4, 4);
    }
    return tool;
}

TEST(TrackingTest, FramesCountAtTheFamilysRate) {
    const struct {
        Family family;
        double rateHz;
        int afterMs;
        std::uint32_t frame;
    } cases[] = {
        {Family::Vicra, 0, 0, 1},    {Family::Vicra, 0, 49, 1},
        {Family::Vicra, 0, 50, 2},   {Family::Vega, 0, 1000, 61},
        {Family::Aurora, 0, 25, 2},  {Family::Aurora, 250, 1000, 251},
        {Family::Vega, 7, 3000, 22}, {Family::Vega, 0, 86400000, 60U * 86400 + 1},
    };
    for (const auto& [family, rateHz, afterMs, frame] : cases) {
        DeviceOptions options = optionsOf(family);
        options.rateHz = rateHz;
        DeviceHarness harness(options);
        harness.run("INIT: OKAY; TSTART: OKAY");
        harness.now += milliseconds(afterMs);
        EXPECT_EQ(harness.device.frameNumber(), frame) << afterMs << " ms";
    }
}

TEST(TrackingTest, FramesStandStillBetweenTracking) {
    DeviceHarness vega(Family::Vega);
    vega.startTracking();
    vega.now += milliseconds(500);
    EXPECT_EQ(poll(vega).frame, 31U);
    vega.run("TSTOP: OKAY");
    vega.now += milliseconds(5000);
    EXPECT_EQ(vega.device.frameNumber(), 31U);
    vega.run("TSTART: OKAY");
    EXPECT_EQ(poll(vega).frame, 32U);
    vega.run("TSTOP: OKAY; TSTART:80 OKAY");
    EXPECT_EQ(poll(vega).frame, 1U);
    vega.device.resetLink();
    EXPECT_EQ(vega.device.frameNumber(), 0U);
}

TEST(TrackingTest, ToolsThatAreNotWell) {
    const struct {
        const char* rule;
        std::uint32_t frame;
        unsigned status;
        std::uint32_t portStatus = 0x31;
        const char* command = "BX 0001";
    } cases[] = {
        {"1:missing", 5, 2},
        {"*:missing:10-19", 9, 1},
        {"*:missing:10-19", 10, 2},
        {"*:missing:10-19", 19, 2},
        {"*:missing:10-19", 20, 1},
        {"1:missing:10-19/100", 115, 2},
        {"1:missing:10-19/100", 120, 1},
        {"2:missing", 5, 1},
        {"1:disabled:1-1/2", 3, 4, 0},
        {"1:out-of-volume", 3, 2, 0x71},
        {"1:out-of-volume", 3, 1, 0x71, "BX 0801"},
    };
    for (const auto& c : cases) {
        DeviceOptions options = optionsOf(Family::Vega);
        options.rateHz = 100;
        options.toolStates = {parseToolState(c.rule)};
        DeviceHarness vega(options);
        vega.startTracking();
        vega.now += milliseconds(10) * (c.frame - 1);
        const OneTool tool = poll(vega, c.command);
        EXPECT_EQ(tool.status, c.status) << c.rule << " in frame " << c.frame;
        EXPECT_EQ(tool.portStatus, c.portStatus) << c.rule << " in frame " << c.frame;
    }
}

} // namespace
} // namespace ndisim

#include "tests/simulator/DeviceHarness.h"

namespace ndisim {
namespace {

using std::chrono::milliseconds;

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

TEST(TrackingTest, ToolsThatAreNotWell) {
    const struct {
        const char* rule;
        std::uint32_t frame;
        int status;
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
        {"1:disabled:1-1/2", 3, 4},
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
        const Outcome answer = vega.device.execute(c.command);
        const int status = answer.bytes.at(8); // what stands behind the only handle
        EXPECT_EQ(status, c.status) << c.rule << " in frame " << c.frame;
        EXPECT_EQ(answer.measurement->tools.at(0).portStatus, c.portStatus) << c.rule;
    }
}

} // namespace
} // namespace ndisim

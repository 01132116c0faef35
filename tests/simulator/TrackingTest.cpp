#include "tests/simulator/DeviceHarness.h"

#include "simulator/Encoding.h"

#include <cmath>
#include <cstring>

namespace ndisim {
namespace {

using std::chrono::milliseconds;

struct OneTool {
    unsigned status = 0;
    Position position{};
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
        float values[8];
        std::memcpy(values, next, sizeof values);
        tool.position = {values[4], values[5], values[6]};
        next += sizeof values;
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

TEST(TrackingTest, MeasurementHoldsWhatWasSent) {
    DeviceOptions options = optionsOf(Family::Vicra);
    options.strays = 60;
    options.hasSingleStray = true;
    DeviceHarness vicra(options);
    vicra.startTracking();
    const auto execute = [&](const char* command) { return vicra.device.execute(command); };
    const Outcome binary = execute("BX 180F");
    EXPECT_EQ(binary.bytes, encodeBx(*binary.measurement, 0x180F));
    EXPECT_EQ(binary.measurement->strays.size(), 60U);
    EXPECT_EQ(binary.measurement->tools.at(0).markers.size(), 4U);
    const Outcome text = execute("TX 1807");
    EXPECT_EQ(checkedText(text.bytes), encodeTx(*text.measurement, 0x1807));
    EXPECT_EQ(execute("BX 1").bytes, Device::errorReply(0x07));
    EXPECT_EQ(execute("BX 00G0").bytes, Device::errorReply(0x23));
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

// What a text reply keeps of a position, hundredths of a millimetre, is enough.
TEST(Path, RoundedPositionTellsPlaceAndFrame) {
    for (const Family family : {Family::Vicra, Family::Vega, Family::Aurora}) {
        for (const int place : {1, 2, 9, 24}) {
            for (std::uint32_t frame = 0; frame < pathPeriod; ++frame) {
                Position position = pathPose(family, place, frame + 5 * pathPeriod).position;
                for (auto& coordinate : position) {
                    coordinate = std::round(coordinate * 100) / 100;
                }
                const PathPoint point = locateOnPath(family, position);
                ASSERT_EQ(point.place, place);
                ASSERT_EQ(point.frame, frame);
            }
        }
    }
    for (const double z : {std::nan(""), 1e300, -1e300, 0.0}) {
        EXPECT_LT(locateOnPath(Family::Vega, {0, 0, z}).frame, pathPeriod);
    }
}

TEST(Path, LiesWhereTheFamilyMeasures) {
    const std::pair<Family, double> cases[] = {
        {Family::Vega, -1215}, {Family::Vicra, -715}, {Family::Aurora, -115}};
    for (const auto& [family, z] : cases) {
        EXPECT_NEAR(pathPose(family, 1, 963).position[2], z, 1e-9);
    }
    Pose quarterTurnAboutZ;
    quarterTurnAboutZ.rotation = {std::sqrt(0.5), 0, 0, std::sqrt(0.5)};
    quarterTurnAboutZ.position = {1, 2, 3};
    const Position marker = markerPosition(quarterTurnAboutZ, 2); // (20, 10, 0) of the tool
    EXPECT_NEAR(marker[0], 1 - 10, 1e-9);
    EXPECT_NEAR(marker[1], 2 + 20, 1e-9);
    EXPECT_NEAR(marker[2], 3, 1e-9);
}

} // namespace
} // namespace ndisim

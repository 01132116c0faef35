// What the view of the tracked volume shows, without a display.

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvalinstream/TrackingInstrumentFiducialsData.h>

#include "window/OrbitCamera.h"
#include "window/VolumeModel.h"

namespace Morvalin::App {
namespace {

using namespace std::chrono_literals;
using Eigen::Vector3d;
using testing::ElementsAre;
using Clock = VolumeModel::Clock;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(OperatingVolume, ReadsWhatDevicesSayAndDrawsWhatEnclosesSpace) {
    const double slope = std::atan(0.35);
    const double wide = 2400 * std::sin(slope);
    const struct {
        const char* text;
        bool isUnderstood;
        std::vector<Vector3d> bounds; ///< none: it is not drawn
    } cases[] = {
        {"Cube -250/250/-100/100/-550/-50", true, {{-250, -100, -550}, {250, 100, -50}}},
        {"Dome -950/-2400/0.35/580/-75/240",
         true,
         {{-wide, -wide, -2400}, {wide, wide, -950 * std::cos(slope)}}},
        {"Dome -50/-660/480/330/0/0", true, {{-480, -480, -660}, {480, 480, -50}}},
        {"Cube 1/2/3/4/5/5", true, {}},
        {"Dome 0/0/0/0/0/0", true, {}},
        {"Cube 1/2/3/4/5", false, {}},
        {"Cube 1/2/3/4/5/nan", false, {}},
        {"Sphere 1/2/3/4/5/6", false, {}},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.text);
        const auto volume = OperatingVolume::parse(expected.text);
        ASSERT_EQ(volume.has_value(), expected.isUnderstood);
        const auto bounds =
            boundsOf(volume ? volume->outline() : std::vector<OperatingVolume::Line>{});
        ASSERT_EQ(bounds.has_value(), !expected.bounds.empty());
        if (bounds) {
            EXPECT_LT((bounds->minimum - expected.bounds[0]).norm(), 1e-6) << bounds->minimum;
            EXPECT_LT((bounds->maximum - expected.bounds[1]).norm(), 1e-6) << bounds->maximum;
        }
    }
    Properties settings;
    settings.setParam("maxRange", 0);
    settings.setParamAttribute("maxRange", "values", "Cube 1, Dome 2");
    for (const auto& [index, text] : {std::pair{0, "Cube 1"}, {1, "Dome 2"}, {2, ""}, {-1, ""}}) {
        settings.setParam("maxRange", index);
        EXPECT_EQ(selectedVolumeText(settings), text) << index;
    }
}

// ---- Frames

struct Seen {
    std::string id;
    double quality;
    Vector3d position;
};

FrameMailbox::Frame makeFrame(std::int64_t timestamp, const std::vector<Seen>& instruments,
                              const std::vector<Vector3d>& strays = {}) {
    auto frame = std::make_shared<TrackingStreamData>();
    frame->timestamp = timestamp;
    frame->mainId = "b";
    for (const Seen& seen : instruments) {
        TrackingInstrument instrument;
        instrument.trackerId = {seen.id, "", ""};
        instrument.active = true;
        instrument.timestamp = timestamp;
        instrument.quality = seen.quality;
        if (seen.quality > 0.0)
            instrument.matrix.topRightCorner<3, 1>() = seen.position;
        frame->instruments.push_back(instrument);
    }
    auto markers = std::make_unique<TrackingInstrumentFiducialsData>();
    for (const Vector3d& stray : strays)
        markers->positions.push_back({stray.x(), stray.y(), stray.z()});
    markers->identifiers.resize(strays.size());
    frame->addComponent(std::move(markers));
    return frame;
}

class Volume : public testing::Test {
protected:
    Clock::time_point now = Clock::now();
    VolumeModel model;
};

TEST_F(Volume, TrailsFadeBreakAndStayShort) {
    const auto trailX = [&] {
        std::vector<double> places;
        for (const auto& point : model.instruments()[0].trail)
            places.push_back(point.position.x());
        return places;
    };
    model.update({makeFrame(1000, {{"a", 0.9, {1, 0, 0}}}),
                  makeFrame(1500, {{"a", 0.9, {2, 0, 0}}}), makeFrame(2000, {{"a", 0.0, {}}}),
                  makeFrame(3000, {{"a", 0.9, {3, 0, 0}}})},
                 true, now);
    EXPECT_THAT(trailX(), ElementsAre(1, 2, 3));
    EXPECT_TRUE(model.instruments()[0].trail[1].continues);
    EXPECT_FALSE(model.instruments()[0].trail[2].continues) << "it was out of sight in between";
    model.update({}, true, now + VolumeModel::trailLength - 1800ms);
    EXPECT_THAT(trailX(), ElementsAre(2, 3));
    model.update({}, true, now + 1h);
    EXPECT_FALSE(model.hasTrails());
    model.update(
        std::vector(VolumeModel::longestTrail + 10, makeFrame(9000, {{"a", 0.9, {4, 0, 0}}})), true,
        now + 1h);
    EXPECT_EQ(trailX().size(), VolumeModel::longestTrail);
}

TEST_F(Volume, NumbersThatAreNoPlacesOrTimesAreLeftOut) {
    for (const Vector3d& place :
         {Vector3d{notANumber, 0, 0}, Vector3d{0, 0, -1e30}, Vector3d{1e5, 0, 0}}) {
        model.update({makeFrame(1000, {{"a", 0.9, place}, {"b", 0.0, {}}}, {place, {1, 1, 1}})},
                     true, now);
        ASSERT_EQ(model.instruments().size(), 2u);
        const auto& [a, b] = std::tie(model.instruments()[0], model.instruments()[1]);
        EXPECT_FALSE(a.isVisible() || model.hasTrails());
        EXPECT_FALSE(b.isVisible()) << "what is not seen must not appear at the origin";
        EXPECT_TRUE(b.isMain && !a.isMain);
        EXPECT_EQ(model.corners().front(), Vector3d(-49, -49, -49));
        EXPECT_EQ(model.strays().size(), 1u);
        for (const Vector3d& landmark : model.landmarks())
            EXPECT_LT(landmark.cwiseAbs().maxCoeff(), 1000);
    }
    for (const std::int64_t timestamp :
         {std::int64_t{1'700'000'000'000}, std::int64_t{-7}, std::int64_t{9'000'000'000'000'000}})
        model.update({makeFrame(timestamp, {{"a", 0.9, {1, 0, 0}}}),
                      makeFrame(timestamp + 10, {{"a", 0.9, {2, 0, 0}}})},
                     true, now);
    for (const auto& point : model.instruments()[0].trail)
        EXPECT_TRUE(point.time <= now && now - point.time <= VolumeModel::trailLength);
}

// ---- Camera

TEST(Camera, EverythingIsInSightFromEveryDirectionAndShape) {
    std::vector<Vector3d> points;
    for (const auto& line : OperatingVolume::parse("Cube -250/250/-100/100/-2400/-950")->outline())
        points.insert(points.end(), line.begin(), line.end());
    for (const auto& [width, height] : {std::pair{800.0, 600.0}, {300.0, 900.0}, {2000.0, 200.0}})
        for (int step = 0; step < 40; ++step) {
            OrbitCamera camera;
            camera.setViewport(width, height);
            camera.turn(0.3 * step, 0.2 * (step % 9) - 1.0);
            camera.lookAt(points);
            for (const Vector3d& point : points) {
                const auto place = camera.project(point);
                ASSERT_TRUE(place);
                EXPECT_TRUE(place->x() >= 0 && place->x() <= width && place->y() >= 0 &&
                            place->y() <= height)
                    << *place;
            }
        }
}

TEST(Camera, CutsWhatIsBehindTheViewer) {
    OrbitCamera camera;
    camera.setViewport(800, 600);
    camera.lookAt({{-100, -100, -100}, {100, 100, 100}});
    const Vector3d front(0, 0, 80);
    const auto before = *camera.project(front);
    camera.turn(0.1, 0.1);
    EXPECT_LT(camera.project(front)->x(), before.x());
    EXPECT_GT(camera.project(front)->y(), before.y());
    const Vector3d behind = camera.axes().col(2) * 1e6;
    EXPECT_FALSE(camera.project(behind) || camera.projectLine(behind, behind + front));
    for (const auto& line : {camera.projectLine(Vector3d::Zero(), behind + front),
                             camera.projectLine(behind + front, Vector3d::Zero())})
        EXPECT_TRUE(line && line->first.allFinite() && line->second.allFinite());
    for (const double factor : {2.0, 0.0, -1.0, notANumber, 1e300, 1e-300}) {
        camera.zoom(factor);
        EXPECT_TRUE(std::isfinite(camera.distance()) && camera.distance() > 0.0) << factor;
    }
}

} // namespace
} // namespace Morvalin::App

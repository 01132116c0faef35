#include "simulator/Path.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ndisim {
namespace {

struct PathCase {
    Family family;
    int place;
    std::uint32_t frame;
    Position position;
    Quaternion direction; // not yet of unit length
    double error;
};

// Quarter turns, where the formula can be worked out on paper: place 1 is 37 frames ahead.
TEST(PathTest, FollowsTheDocumentedFormula) {
    const double eighth = std::sqrt(0.5);
    const PathCase cases[] = {
        {Family::Vega, 1, 963, {100, 0, -1215}, {1, 0.5, 0, -0.46}, 0.25},
        {Family::Vega, 1, 213, {0, 100, -1215}, {1, 0, 0.5, -0.46}, 0.10},
        {Family::Vicra, 2, 426, {-100, 0, -730}, {1, -0.5, 0, -0.42}, 0.25},
        {Family::Aurora, 3, 639, {0, -100, -145}, {1, 0, -0.5, -0.38}, 0.40},
        {Family::Aurora,
         10,
         755,
         {100 * eighth, 100 * eighth, -246},
         {1, 0.5 * eighth, 0.5 * eighth, -0.1},
         0.25 + 0.15 * eighth},
        {Family::Vega, 1, 963 + 5 * pathPeriod, {100, 0, -1215}, {1, 0.5, 0, -0.46}, 0.25},
    };
    for (const auto& c : cases) {
        const Pose pose = pathPose(c.family, c.place, c.frame);
        double length = 0;
        for (const double part : c.direction) {
            length += part * part;
        }
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(pose.position[i], c.position[i], 1e-9) << c.frame << " axis " << i;
        }
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(pose.rotation[i], c.direction[i] / std::sqrt(length), 1e-12) << c.frame;
        }
        EXPECT_NEAR(pose.error, c.error, 1e-12) << c.frame;
    }
}

// What a text reply keeps of a position, hundredths of a millimetre, is enough.
TEST(PathTest, RoundedPositionTellsPlaceAndFrame) {
    for (const Family family : {Family::Vicra, Family::Vega, Family::Aurora}) {
        for (const int place : {1, 2, 9, 24}) {
            for (std::uint32_t frame = 0; frame < pathPeriod; ++frame) {
                Position position = pathPose(family, place, frame).position;
                for (auto& coordinate : position) {
                    coordinate = std::round(coordinate * 100) / 100;
                }
                const PathPoint point = locateOnPath(family, position);
                ASSERT_EQ(point.place, place);
                ASSERT_EQ(point.frame, frame);
            }
        }
    }
}

TEST(PathTest, LocatingAnyPositionGivesAnAnswer) {
    for (const double z : {std::nan(""), 1e300, -1e300, 0.0}) {
        EXPECT_LT(locateOnPath(Family::Vega, {0, 0, z}).frame, pathPeriod);
    }
}

TEST(PathTest, MarkersTurnWithTheTool) {
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

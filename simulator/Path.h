#pragma once

#include "simulator/Family.h"

#include <array>
#include <cstdint>

namespace ndisim {

/// Millimetres in the measurement system's frame.
using Position = std::array<double, 3>;

/// A unit quaternion in the order q0 (real part), qx, qy, qz.
using Quaternion = std::array<double, 4>;

struct Pose {
    Quaternion rotation{1, 0, 0, 0};
    Position position{0, 0, 0}; ///< mm
    double error = 0;           ///< RMS error, mm
};

/// Frames in one turn of a tool on its circle.
inline constexpr std::uint32_t pathPeriod = 1000;

/// Where the tool of a place stands in a frame. Places count from 1: the physical port of a plugged
/// tool, 1 for the first handle of a tool without a cable, and so on. With
///
///     a = 2 pi ((frame + 37 place) mod 1000) / 1000
///
/// the position is (100 cos a, 100 sin a, z0 - 15 place + 4 sin 2a), the rotation
/// (1, 0.5 cos a, 0.5 sin a, 0.04 place - 0.5) scaled to length 1, the error 0.25 + 0.15 sin 3a;
/// z0 is the family's pathBaseZ.
Pose pathPose(Family family, int place, std::uint32_t frame);

/// What a position alone tells: the place and the frame modulo pathPeriod. Any position gives an
/// answer; compare with pathPose to know whether it was on the path.
struct PathPoint {
    int place = 0;
    std::uint32_t frame = 0;
};
PathPoint locateOnPath(Family family, const Position& position);

/// Where stray marker k (counted from 0) stands, in every frame:
/// (-180 + 40 (k mod 10), -180 + 40 (k / 10 mod 10), z0 - 500 - k).
Position strayPosition(Family family, unsigned k);

/// Whether stray marker k counts as outside the volume: every fifth, k mod 5 = 4.
bool strayOutOfVolume(unsigned k);

/// Where marker k of a tool (counted from 0) stands: the point (10 k, 5 k, 0) of the tool.
Position markerPosition(const Pose& tool, unsigned k);

} // namespace ndisim

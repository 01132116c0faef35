#include "simulator/Path.h"

#include <cmath>
#include <numbers>

namespace ndisim {

namespace {

constexpr double radius = 100;             // mm
constexpr double placeSpacing = 15;        // mm along z, more than twice the wobble below
constexpr double wobble = 4;               // mm
constexpr std::uint32_t phaseOfPlace = 37; // frames

double angle(std::uint32_t step) {
    return 2 * std::numbers::pi * step / pathPeriod;
}

std::uint32_t stepOf(int place, std::uint32_t frame) {
    return static_cast<std::uint32_t>(
        (frame + std::uint64_t{phaseOfPlace} * static_cast<std::uint64_t>(place)) % pathPeriod);
}

Quaternion unit(const Quaternion& q) {
    const double length = std::hypot(std::hypot(q[0], q[1]), std::hypot(q[2], q[3]));
    return {q[0] / length, q[1] / length, q[2] / length, q[3] / length};
}

} // namespace

Pose pathPose(Family family, int place, std::uint32_t frame) {
    const double a = angle(stepOf(place, frame));
    const double z = factsOf(family).pathBaseZ - placeSpacing * place + wobble * std::sin(2 * a);
    Pose pose;
    pose.position = {radius * std::cos(a), radius * std::sin(a), z};
    pose.rotation = unit({1, 0.5 * std::cos(a), 0.5 * std::sin(a), 0.04 * place - 0.5});
    pose.error = 0.25 + 0.15 * std::sin(3 * a);
    return pose;
}

PathPoint locateOnPath(Family family, const Position& position) {
    if (!(std::abs(position[2]) < 1e6)) {
        return {};
    }
    const double turns = std::atan2(position[1], position[0]) / (2 * std::numbers::pi);
    const auto step = std::lround(turns * pathPeriod + pathPeriod);
    const auto place = std::lround((factsOf(family).pathBaseZ - position[2]) / placeSpacing);
    const auto period = static_cast<long>(pathPeriod);
    const long frame = (step - static_cast<long>(phaseOfPlace) * place) % period;
    return {static_cast<int>(place), static_cast<std::uint32_t>((frame + period) % period)};
}

Position strayPosition(Family family, unsigned k) {
    return {-180 + 40.0 * (k % 10), -180 + 40.0 * (k / 10 % 10),
            factsOf(family).pathBaseZ - 500 - static_cast<double>(k)};
}

bool strayOutOfVolume(unsigned k) {
    return k % 5 == 4;
}

Position markerPosition(const Pose& tool, unsigned k) {
    // v' = v + 2 u × (u × v + q0 v) with u the vector part of the quaternion.
    const auto& q = tool.rotation;
    const Position v{10.0 * k, 5.0 * k, 0};
    const Position c{q[2] * v[2] - q[3] * v[1] + q[0] * v[0],
                     q[3] * v[0] - q[1] * v[2] + q[0] * v[1],
                     q[1] * v[1] - q[2] * v[0] + q[0] * v[2]};
    return {tool.position[0] + v[0] + 2 * (q[2] * c[2] - q[3] * c[1]),
            tool.position[1] + v[1] + 2 * (q[3] * c[0] - q[1] * c[2]),
            tool.position[2] + v[2] + 2 * (q[1] * c[1] - q[2] * c[0])};
}

} // namespace ndisim

#include "window/OrbitCamera.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <Eigen/Geometry>

namespace Morvalin::App {

namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;

constexpr double nearest = 5.0; ///< mm in front of the viewer; nothing closer is drawn
constexpr double halfViewSlope = 0.45;
constexpr double closestDistance = 50.0;
constexpr double farthestDistance = 50000.0;
constexpr double margin = 1.05;

} // namespace

Eigen::Matrix3d OrbitCamera::axesFor(double yaw, double pitch) {
    return (Eigen::AngleAxisd(yaw, Vector3d::UnitY()) *
            Eigen::AngleAxisd(-pitch, Vector3d::UnitX()))
        .toRotationMatrix();
}

void OrbitCamera::updateAxes() {
    viewerAxes = axesFor(yaw, pitch);
}

void OrbitCamera::lookAt(const std::vector<Vector3d>& points) {
    if (points.empty())
        return;
    Vector3d low = points.front();
    Vector3d high = points.front();
    for (const Vector3d& point : points) {
        low = low.cwiseMin(point);
        high = high.cwiseMax(point);
    }
    target = (low + high) / 2.0;
    const double sideSlope = halfViewSlope * std::max(1.0, width / height);
    const double heightSlope = halfViewSlope * std::max(1.0, height / width);
    double needed = closestDistance;
    for (const Vector3d& point : points) {
        const Vector3d seen = viewerAxes.transpose() * (point - target);
        needed = std::max({needed, seen.z() + std::abs(seen.x()) / sideSlope,
                           seen.z() + std::abs(seen.y()) / heightSlope});
    }
    targetDistance = std::min(needed * margin, farthestDistance);
}

void OrbitCamera::resetDirection() {
    yaw = defaultYaw;
    pitch = defaultPitch;
    updateAxes();
}

void OrbitCamera::turn(double right, double up) {
    constexpr double steepest = std::numbers::pi / 2;
    yaw = std::remainder(yaw + right, 2 * std::numbers::pi);
    pitch = std::clamp(pitch + up, -steepest, steepest);
    updateAxes();
}

void OrbitCamera::zoom(double factor) {
    if (factor > 0.0)
        targetDistance = std::clamp(targetDistance / factor, closestDistance, farthestDistance);
}

void OrbitCamera::setViewport(double newWidth, double newHeight) {
    width = std::max(newWidth, 1.0);
    height = std::max(newHeight, 1.0);
}

double OrbitCamera::pixelsPerSlope() const {
    return std::min(width, height) / 2.0 / halfViewSlope;
}

Vector3d OrbitCamera::toViewer(const Vector3d& point) const {
    Vector3d seen = viewerAxes.transpose() * (point - target);
    seen.z() -= targetDistance;
    return seen;
}

Vector2d OrbitCamera::toScreen(const Vector3d& seen) const {
    const double scale = pixelsPerSlope() / -seen.z();
    return {width / 2.0 + seen.x() * scale, height / 2.0 - seen.y() * scale};
}

std::optional<Vector2d> OrbitCamera::project(const Vector3d& point) const {
    const Vector3d seen = toViewer(point);
    if (!(seen.z() < -nearest))
        return std::nullopt;
    return toScreen(seen);
}

std::optional<std::pair<Vector2d, Vector2d>> OrbitCamera::projectLine(const Vector3d& from,
                                                                      const Vector3d& to) const {
    Vector3d a = toViewer(from);
    Vector3d b = toViewer(to);
    const bool isStartBehind = !(a.z() <= -nearest);
    const bool isEndBehind = !(b.z() <= -nearest);
    if (isStartBehind && isEndBehind)
        return std::nullopt;
    const auto cut = [](const Vector3d& front, const Vector3d& behind) -> Vector3d {
        return front + (behind - front) * ((-nearest - front.z()) / (behind.z() - front.z()));
    };
    if (isStartBehind)
        a = cut(b, a);
    else if (isEndBehind)
        b = cut(a, b);
    return std::pair{toScreen(a), toScreen(b)};
}

double OrbitCamera::millimetresPerPixel(const Vector3d& point) const {
    return std::max(-toViewer(point).z(), nearest) / pixelsPerSlope();
}

} // namespace Morvalin::App

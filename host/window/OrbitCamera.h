#pragma once

#include <optional>
#include <utility>
#include <vector>

#include <Eigen/Core>

namespace Morvalin::App {

/// Looks at a place from a distance, with perspective. Turning goes around that place; y stays up.
/// Angles in radians, lengths in millimetres, places on the screen in pixels from the top left.
class OrbitCamera {
public:
    /// Looks at the middle of some points from where all of them are in sight.
    void lookAt(const std::vector<Eigen::Vector3d>& points);
    /// Back to the direction in which it was made.
    void resetDirection();
    /// To the right and up as seen by the viewer; never beyond straight above or below.
    void turn(double right, double up);
    /// Comes closer by a factor above 1; stays within sensible distances.
    void zoom(double factor);
    void setViewport(double width, double height);

    /// Where a point is on the screen; nothing when it is behind the viewer.
    std::optional<Eigen::Vector2d> project(const Eigen::Vector3d& point) const;
    /// The part of a line that is in front of the viewer, if any.
    std::optional<std::pair<Eigen::Vector2d, Eigen::Vector2d>>
    projectLine(const Eigen::Vector3d& from, const Eigen::Vector3d& to) const;

    double distance() const { return targetDistance; }
    /// How many millimetres a pixel is at a point; for things of the same size wherever they are.
    double millimetresPerPixel(const Eigen::Vector3d& point) const;
    /// The columns are the viewer's right, up and backward, in the tracker's coordinates.
    const Eigen::Matrix3d& axes() const { return viewerAxes; }

private:
    Eigen::Vector3d toViewer(const Eigen::Vector3d& point) const;
    Eigen::Vector2d toScreen(const Eigen::Vector3d& inViewer) const;
    double pixelsPerSlope() const;
    void updateAxes();

    static constexpr double defaultYaw = 0.55;
    static constexpr double defaultPitch = 0.35;

    Eigen::Vector3d target = Eigen::Vector3d::Zero();
    double targetDistance = 1000.0;
    double yaw = defaultYaw;
    double pitch = defaultPitch;
    double width = 1.0;
    double height = 1.0;
    Eigen::Matrix3d viewerAxes = axesFor(defaultYaw, defaultPitch);

    static Eigen::Matrix3d axesFor(double yaw, double pitch);
};

} // namespace Morvalin::App

#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <Eigen/Core>

#include <morvalincore/Data.h>
#include <morvalincore/Properties.h>

namespace Morvalin::App {

/// The space in which a tracking system measures, as it describes it: a word and six numbers, such
/// as "Cube -250/250/-250/250/-550/-50" or "Dome -950/-2400/0.35/580/-75/240". Millimetres in the
/// tracking system's own coordinates.
///
/// What the numbers of a shape mean is not part of the text. The reading taken here:
/// - Cube: smallest and largest x, then y, then z.
/// - Dome: the nearest and the farthest z, then how wide it is. A third number below `largestSlope`
///   is the growth of the radius with the distance from the origin, which gives a cone between two
///   spheres around the origin; a larger one is a radius, which gives half an ellipsoid that stands
///   on the nearest z and reaches to the farthest. The other three numbers are not used.
struct OperatingVolume {
    static constexpr double largestSlope = 10.0;

    enum class Shape { Cube, Dome };

    Shape shape = Shape::Cube;
    std::array<double, 6> numbers{};

    /// Nothing for a text of another form.
    static std::optional<OperatingVolume> parse(const std::string& text);

    /// Points to be joined in their order.
    using Line = std::vector<Eigen::Vector3d>;

    /// Nothing when the numbers enclose no space.
    std::vector<Line> outline() const;
};

/// The text of the volume that a stream's settings select. Empty when there is none.
std::string selectedVolumeText(const Properties& settings);

/// The box around some lines; nothing without points.
std::optional<Bounds> boundsOf(const std::vector<OperatingVolume::Line>& lines);

} // namespace Morvalin::App

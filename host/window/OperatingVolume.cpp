#include "window/OperatingVolume.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <string_view>

#include "session/PluginKeys.h"

namespace Morvalin::App {

namespace {

using Line = OperatingVolume::Line;
using Eigen::Vector3d;

constexpr int ringPoints = 48;
constexpr int meridians = 8;
constexpr int meridianPoints = 12;
constexpr double longest = 1e5; ///< mm; no tracking system sees a hundred metres

bool readNumber(std::string_view text, double& number) {
    const char* const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, number);
    return fault == std::errc() && stop == end && std::abs(number) <= longest;
}

std::optional<std::array<double, 6>> readNumbers(std::string_view text) {
    std::array<double, 6> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::size_t slash = text.find('/');
        const bool isLast = i + 1 == numbers.size();
        if (isLast != (slash == std::string_view::npos) ||
            !readNumber(text.substr(0, slash), numbers[i]))
            return std::nullopt;
        if (!isLast)
            text.remove_prefix(slash + 1);
    }
    return numbers;
}

std::vector<Line> cubeOutline(const std::array<double, 6>& n) {
    const auto [x0, x1] = std::minmax(n[0], n[1]);
    const auto [y0, y1] = std::minmax(n[2], n[3]);
    const auto [z0, z1] = std::minmax(n[4], n[5]);
    if (!(x0 < x1 && y0 < y1 && z0 < z1))
        return {};
    std::vector<Line> lines;
    for (const double z : {z0, z1})
        lines.push_back({{x0, y0, z}, {x1, y0, z}, {x1, y1, z}, {x0, y1, z}, {x0, y0, z}});
    for (const double x : {x0, x1})
        for (const double y : {y0, y1})
            lines.push_back({{x, y, z0}, {x, y, z1}});
    return lines;
}

/// A place on a surface of revolution around z: how far from the axis, and where along it.
struct Profile {
    double radius;
    double z;
};

Vector3d revolve(const Profile& profile, double angle) {
    return {profile.radius * std::cos(angle), profile.radius * std::sin(angle), profile.z};
}

Line ring(const Profile& profile) {
    Line line;
    for (int i = 0; i <= ringPoints; ++i)
        line.push_back(revolve(profile, 2 * std::numbers::pi * i / ringPoints));
    return line;
}

void addMeridians(std::vector<Line>& lines, const std::vector<Profile>& profiles) {
    for (int i = 0; i < meridians; ++i) {
        Line line;
        for (const Profile& profile : profiles)
            line.push_back(revolve(profile, 2 * std::numbers::pi * i / meridians));
        lines.push_back(std::move(line));
    }
}

/// Between two spheres around the origin, within a cone of that slope.
std::vector<Line> coneOutline(double nearest, double farthest, double slope) {
    const double edge = std::atan(slope);
    const auto at = [](double distance, double angle) {
        return Profile{std::abs(distance) * std::sin(angle), distance * std::cos(angle)};
    };
    std::vector<Line> lines{ring(at(nearest, edge)), ring(at((nearest + farthest) / 2, edge)),
                            ring(at(farthest, edge)), ring(at(farthest, edge / 2))};
    std::vector<Profile> profiles{at(nearest, edge)};
    for (int i = 0; i <= meridianPoints; ++i)
        profiles.push_back(at(farthest, edge * (meridianPoints - i) / meridianPoints));
    addMeridians(lines, profiles);
    return lines;
}

/// Half an ellipsoid that stands on `base` and has its pole at `pole`.
std::vector<Line> ellipsoidOutline(double base, double pole, double radius) {
    const auto at = [&](double angle) {
        return Profile{radius * std::cos(angle), base + (pole - base) * std::sin(angle)};
    };
    const double quarter = std::numbers::pi / 2;
    std::vector<Line> lines{ring(at(0)), ring(at(quarter / 3)), ring(at(quarter * 2 / 3))};
    std::vector<Profile> profiles;
    for (int i = 0; i <= meridianPoints; ++i)
        profiles.push_back(at(quarter * i / meridianPoints));
    addMeridians(lines, profiles);
    return lines;
}

std::vector<Line> domeOutline(const std::array<double, 6>& n) {
    const auto& [nearest, farthest, width, unused1, unused2, unused3] = n;
    if (nearest == farthest || width == 0.0)
        return {};
    if (std::abs(width) >= OperatingVolume::largestSlope)
        return ellipsoidOutline(nearest, farthest, std::abs(width));
    const bool isOnOneSide = nearest * farthest > 0.0;
    return isOnOneSide ? coneOutline(nearest, farthest, std::abs(width)) : std::vector<Line>{};
}

} // namespace

std::optional<OperatingVolume> OperatingVolume::parse(const std::string& text) {
    const bool isDome = text.starts_with(PluginKeys::dome);
    if (!isDome && !text.starts_with(PluginKeys::cube))
        return std::nullopt;
    const auto numbers = readNumbers(
        std::string_view(text).substr(isDome ? PluginKeys::dome.size() : PluginKeys::cube.size()));
    if (!numbers)
        return std::nullopt;
    return OperatingVolume{isDome ? Shape::Dome : Shape::Cube, *numbers};
}

std::vector<Line> OperatingVolume::outline() const {
    return shape == Shape::Cube ? cubeOutline(numbers) : domeOutline(numbers);
}

std::string selectedVolumeText(const Properties& settings) {
    std::int32_t index = -1;
    settings.param(PluginKeys::operatingVolume, index);
    const std::vector<std::string> volumes = settings.choices(PluginKeys::operatingVolume);
    const bool isChoice = index >= 0 && static_cast<std::size_t>(index) < volumes.size();
    return isChoice ? volumes[static_cast<std::size_t>(index)] : std::string();
}

std::optional<Bounds> boundsOf(const std::vector<Line>& lines) {
    std::optional<Bounds> bounds;
    for (const Line& line : lines)
        for (const Vector3d& point : line) {
            if (!bounds)
                bounds = Bounds{point, point};
            bounds->minimum = bounds->minimum.cwiseMin(point);
            bounds->maximum = bounds->maximum.cwiseMax(point);
        }
    return bounds;
}

} // namespace Morvalin::App

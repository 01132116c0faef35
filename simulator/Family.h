#pragma once

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

/// A measurement system in software: what the simulator's parts share.
namespace ndisim {

/// The three kinds of measurement system.
enum class Family {
    Vicra, ///< optical, on a serial line
    Vega,  ///< optical, on the network
    Aurora ///< electromagnetic, on a serial line, tools are plugged into physical ports
};

/// A measurement volume as the list of features describes it.
struct Volume {
    bool isCube = false;
    std::array<double, 6> parameters{}; ///< mm, each within ±9999.99
};

/// What tells one family from another.
struct FamilyFacts {
    Family family;
    std::string_view name; ///< as on the command line
    bool isOptical;        ///< sees markers: only such report strays and take tools without a cable
    double rateHz;         ///< measurements in a second while tracking
    double pathBaseZ;      ///< mm; z of the plane from which the places of Path.h are counted
    std::vector<Volume> volumes;
};

inline const std::array<FamilyFacts, 3>& allFamilies() {
    static const std::array<FamilyFacts, 3> families{{
        {Family::Vicra, "vicra", true, 20, -700, {{false, {-557, -1336, 0.3, 450, -50.25, 120}}}},
        {Family::Vega,
         "vega",
         true,
         60,
         -1200,
         {{false, {-950, -2400, 0.35, 580, -75, 240}},
          {false, {-950, -3000, 0.35, 580, -75, 300}}}},
        {Family::Aurora,
         "aurora",
         false,
         40,
         -100,
         {{true, {-250, 250, -250, 250, -550, -50}}, {false, {-50, -660, 480, 330, 0, 0}}}},
    }};
    return families;
}

inline const FamilyFacts& factsOf(Family family) {
    return *std::ranges::find(allFamilies(), family, &FamilyFacts::family);
}

inline std::string_view familyName(Family family) {
    return factsOf(family).name;
}

inline const std::vector<Volume>& familyVolumes(Family family) {
    return factsOf(family).volumes;
}

} // namespace ndisim

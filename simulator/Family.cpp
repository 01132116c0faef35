#include "simulator/Family.h"

#include <array>

namespace ndisim {

namespace {

struct FamilyFacts {
    Family family;
    std::string_view name;
    bool isOptical;
    double rateHz;
};

constexpr std::array<FamilyFacts, 3> families{{
    {Family::Vicra, "vicra", true, 20},
    {Family::Vega, "vega", true, 60},
    {Family::Aurora, "aurora", false, 40},
}};

const FamilyFacts& facts(Family family) {
    for (const auto& entry : families) {
        if (entry.family == family) {
            return entry;
        }
    }
    return families.front();
}

} // namespace

std::string_view familyName(Family family) {
    return facts(family).name;
}

std::optional<Family> familyFromName(std::string_view name) {
    for (const auto& entry : families) {
        if (entry.name == name) {
            return entry.family;
        }
    }
    return std::nullopt;
}

bool isOptical(Family family) {
    return facts(family).isOptical;
}

double familyRateHz(Family family) {
    return facts(family).rateHz;
}

} // namespace ndisim

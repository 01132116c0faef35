#pragma once

#include <optional>
#include <string_view>

/// A measurement system in software: what the simulator's parts share.
namespace ndisim {

/// The three kinds of measurement system.
enum class Family {
    Vicra, ///< optical, on a serial line, 20 Hz
    Vega,  ///< optical, on the network, 60 Hz
    Aurora ///< electromagnetic, on a serial line, 40 Hz, tools are plugged into physical ports
};

/// "vicra", "vega" or "aurora", as on the command line.
std::string_view familyName(Family family);

/// The family of a name in lower case, nothing for any other text.
std::optional<Family> familyFromName(std::string_view name);

/// True for the families that see markers: only they report strays and take tools without a cable.
bool isOptical(Family family);

/// Measurements in a second while tracking.
double familyRateHz(Family family);

} // namespace ndisim

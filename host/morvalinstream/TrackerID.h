#pragma once

#include <string>
#include <utility>

namespace Morvalin {

/// Identity of a tracked instrument.
struct TrackerID {
    TrackerID() = default;
    TrackerID(std::string id, std::string instrumentName, std::string model) :
        ID(std::move(id)), name(std::move(instrumentName)), modelNumber(std::move(model)) {}

    std::string ID; ///< unique within its stream
    std::string name;
    std::string modelNumber;

    bool operator==(const TrackerID&) const = default;
};

} // namespace Morvalin

#pragma once

#include "streams/PolarisAuroraTrackingStream.h"

#include <memory>
#include <string_view>

namespace fuzz {

/// A closed stream of one of the three families.
inline std::unique_ptr<Morvalin::NDITrackingStream> makeStream(unsigned family) {
    using namespace Morvalin;
    switch (family % 3) {
    case 0:
        return std::make_unique<PolarisAuroraTrackingStream<NDIDeviceFamily::PolarisVicra>>();
    case 1:
        return std::make_unique<PolarisAuroraTrackingStream<NDIDeviceFamily::PolarisVega>>();
    default:
        return std::make_unique<PolarisAuroraTrackingStream<NDIDeviceFamily::Aurora>>();
    }
}

/// The ids of the families in workspaces, by the same number.
inline constexpr const char* streamIds[] = {"NDITracking.PolarisVicraTrackingStream",
                                            "NDITracking.PolarisVegaTrackingStream",
                                            "NDITracking.AuroraTrackingStream"};

} // namespace fuzz

#include "plugin/LegacyConversion.h"

#include "streams/PolarisAuroraTrackingStream.h"

#include <morvalincore/Properties.h>

namespace Morvalin {
namespace {

constexpr const char* legacyId = "NDITracking.PolarisAuroraTrackingStream";

/// Null for an unknown family.
const char* streamId(std::int32_t family) {
    switch (family) {
    case NDIDeviceFamily::PolarisVicra:
        return "NDITracking.PolarisVicraTrackingStream";
    case NDIDeviceFamily::PolarisVega:
        return "NDITracking.PolarisVegaTrackingStream";
    case NDIDeviceFamily::Aurora:
        return "NDITracking.AuroraTrackingStream";
    default:
        return nullptr;
    }
}

bool convertBlock(Properties& block) {
    std::int32_t family = 0;
    if (block.name() != legacyId || !block.param("systemType", family))
        return false;
    const char* const id = streamId(family);
    if (id == nullptr)
        return false;
    block.setName(id);
    return true;
}

} // namespace

bool convertLegacyStreams(Properties& workspace, const std::string&) {
    Properties* const algorithms = workspace.subProperties("Algorithms");
    if (algorithms == nullptr)
        return false;
    bool isChanged = false;
    for (Properties& block : algorithms->children())
        isChanged |= convertBlock(block);
    return isChanged;
}

} // namespace Morvalin

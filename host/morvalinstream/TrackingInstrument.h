#pragma once

#include <cstdint>
#include <string>

#include <morvalincore/Data.h>
#include <morvalinstream/TrackerID.h>

namespace Morvalin {

/// One tracked instrument as it was last measured. A plain copyable record.
struct TrackingInstrument {
    TrackerID trackerId;
    Matrix4 matrix = Matrix4::Identity(); ///< instrument to tracker, millimetres
    double quality = 0.0;                 ///< 1 is best; 0 and below: no usable pose
    std::int64_t timestamp = 0;           ///< milliseconds since 1970-01-01 UTC
    std::int32_t trackingState = 0;
    bool active = false;
    std::string toolType = "Unknown"; ///< kind of tool, such as "Probe"

    /// Pose, quality, timestamp and tracking state are those of `other`.
    bool hasSameData(const TrackingInstrument& other) const {
        return timestamp == other.timestamp && quality == other.quality &&
               trackingState == other.trackingState && matrix == other.matrix;
    }
};

} // namespace Morvalin

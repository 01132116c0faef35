#pragma once

#include "simulator/Simulator.h"

#include <morvalinstream/TrackingInstrumentFiducialsData.h>
#include <morvalinstream/TrackingStreamData.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace Morvalin {

/// The handle of the tool that an instrument is named for, among those that were measured; 0: none.
/// A definition goes by its part number (a handle that is left from before has the same tool), what
/// is plugged in by port and part number, one of which is unknown when the question for it failed.
inline int handleOf(const std::string& id, const ndisim::Measurement& own,
                    const ndisim::Device& device) {
    if (id.find('-') == 1)
        return id == "0-P" ? 0x0A : id == "0-R" ? 0x0B : 0x0A + (id[0] - '1');
    int newest = 0;
    for (const ndisim::ToolMeasurement& tool : own.tools)
        newest = device.loadedPartNumber(tool.handle) == id ? tool.handle : newest;
    return newest;
}

inline bool isNear(const ndisim::Position& one, const ndisim::Position& other, double tolerance) {
    return std::ranges::equal(one, other, [&](double a, double b) {
        return std::abs(a - b) <= tolerance; // mm
    });
}

/// What is wrong with the pose of a tool that the device measured; empty: nothing.
inline std::string wrongInPose(const TrackingInstrument& tool, ndisim::Family family, int handle,
                               std::uint32_t frame, bool isBinary) {
    const int place = ndisim::placeOfHandle(handle);
    const ndisim::Pose own = ndisim::pathPose(family, place, frame);
    // The resolution of the answer's numbers: that of the position, then of the rotation.
    for (const auto& [k, tolerance] :
         {std::pair{0U, isBinary ? 2e-4 : 0.0051}, {5U, isBinary ? 3e-4 : 0.03}}) {
        const Eigen::Vector4d point = tool.matrix * Eigen::Vector4d(10.0 * k, 5.0 * k, 0, 1);
        if (isNear({point[0], point[1], point[2]}, ndisim::markerPosition(own, k), tolerance))
            continue;
        const auto [otherPlace, otherFrame] =
            ndisim::locateOnPath(family, {tool.matrix(0, 3), tool.matrix(1, 3), tool.matrix(2, 3)});
        return "of place " + std::to_string(otherPlace) + " in frame " +
               std::to_string(otherFrame) + " instead of " + std::to_string(place) + " in " +
               std::to_string(frame);
    }
    const double resolution = isBinary ? 1e-6 : 6e-6;
    return std::abs(tool.quality - 1 + own.error / 10) < resolution ? "" : "of another quality";
}

/// A tool is handed out as the device measured it, and as nothing else.
inline std::string wrongInTool(const TrackingInstrument& tool, const ndisim::Measurement& own,
                               const ndisim::Device& device, bool isBinary) {
    const int handle = handleOf(tool.trackerId.ID, own, device);
    const auto sent = std::ranges::find(own.tools, handle, &ndisim::ToolMeasurement::handle);
    const auto status = sent == own.tools.end() ? ndisim::ToolStatus::Unoccupied : sent->status;
    if (tool.active && tool.quality > 0)
        return status == ndisim::ToolStatus::Valid
                   ? wrongInPose(tool, device.family(), handle, own.frame, isBinary)
                   : "of a tool that was not measured";
    if (status == ndisim::ToolStatus::Valid)
        return "missing without a word";
    const bool isEmpty = tool.matrix == Matrix4(Matrix4::Identity()) && tool.quality == 0;
    if (status == ndisim::ToolStatus::Missing && !(tool.active && isEmpty))
        return "of a tool that is missing";
    return tool.active && status != ndisim::ToolStatus::Missing ? "of a tool that is off" : "";
}

/// What is wrong with a frame that was handed out as the answer to an exchange, the last one.
inline std::string wrongIn(const TrackingStreamData& frame, const ndisim::Exchange& own,
                           const ndisim::Device& device) {
    if (!own.measurement || own.sent.empty())
        return "a frame out of nothing";
    for (const TrackingInstrument& tool : frame.instruments)
        if (tool.active && tool.timestamp != frame.timestamp)
            return "pose of another time";
    const bool isBinary = own.command.starts_with("BX");
    for (const TrackingInstrument& tool : frame.instruments)
        if (const std::string wrong = wrongInTool(tool, *own.measurement, device, isBinary);
            !wrong.empty())
            return "pose of " + tool.trackerId.ID + " " + wrong;
    const auto& markers =
        dynamic_cast<const TrackingInstrumentFiducialsData&>(*frame.components().at(0));
    const bool hasOwnMarkers = std::ranges::equal(
        markers.positions, own.measurement->strays,
        [](const auto& one, const auto& other) { return isNear(one, other, 0.0051); });
    const auto isSeen = [](const TrackingInstrument& tool) {
        return tool.active; // and, as was checked, either measured or told to be missing
    };
    if (!frame.instruments.empty() && std::ranges::none_of(frame.instruments, isSeen))
        return "a frame without data";
    return hasOwnMarkers ? "" : "stray markers of another frame";
}

} // namespace Morvalin

#include "window/VolumeModel.h"

#include <algorithm>

#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Morvalin::App {

namespace {

using Eigen::Vector3d;

constexpr double farthest = 1e5; ///< mm; what lies beyond is no place in this room

bool isPlace(const Vector3d& point) {
    return point.allFinite() && point.cwiseAbs().maxCoeff() < farthest;
}

bool isPose(const Matrix4& matrix) {
    return matrix.allFinite() && isPlace(matrix.topRightCorner<3, 1>());
}

/// The corners of a box with a margin.
std::vector<Vector3d> cornersAround(const Bounds& box, double margin) {
    const Vector3d ends[] = {box.minimum - Vector3d::Constant(margin),
                             box.maximum + Vector3d::Constant(margin)};
    std::vector<Vector3d> points;
    for (const double x : {ends[0].x(), ends[1].x()})
        for (const double y : {ends[0].y(), ends[1].y()})
            for (const double z : {ends[0].z(), ends[1].z()})
                points.emplace_back(x, y, z);
    return points;
}

/// When a frame was measured, on the display's clock. Clocks that jump or lie must not move points
/// out of the trail or into the future.
VolumeModel::Clock::time_point measuredAt(const TrackingStreamData& frame,
                                          const TrackingStreamData& newest,
                                          VolumeModel::Clock::time_point now) {
    const std::int64_t longest = VolumeModel::trailLength.count();
    const bool isOrdered = frame.timestamp <= newest.timestamp;
    const std::int64_t age =
        isOrdered && newest.timestamp - frame.timestamp < longest && frame.timestamp > 0
            ? newest.timestamp - frame.timestamp
            : 0;
    return now - std::chrono::milliseconds(age);
}

} // namespace

bool VolumeModel::Instrument::isVisible() const {
    return hasCurrentPose(state) && isPose(matrix);
}

void VolumeModel::update(const std::vector<FrameMailbox::Frame>& frames, bool isRunning,
                         Clock::time_point now) {
    if (!frames.empty()) {
        newest = frames.back();
        lastArrival = now;
    }
    for (const FrameMailbox::Frame& frame : frames)
        addFrame(*frame, measuredAt(*frame, *newest, now));
    if (newest)
        states.update(newest->instruments, isRunning, now);
    for (Instrument& instrument : shown)
        instrument.state = states.state(instrument.id);
    if (!isRunning || now - lastArrival > InstrumentStates::patience)
        strayMarkers.clear();
    fadeTrails(now);
}

void VolumeModel::addFrame(const TrackingStreamData& frame, Clock::time_point time) {
    std::vector<Instrument> updated;
    updated.reserve(frame.instruments.size());
    for (const TrackingInstrument& measured : frame.instruments) {
        const auto known = std::find_if(shown.begin(), shown.end(), [&](const auto& instrument) {
            return instrument.id == measured.trackerId.ID;
        });
        Instrument instrument{};
        if (known != shown.end())
            instrument = std::move(*known);
        instrument.number = static_cast<int>(updated.size()) + 1;
        takeOver(measured, instrument, frame, time);
        updated.push_back(std::move(instrument));
    }
    shown = std::move(updated);
    takeStrays(frame);
}

void VolumeModel::takeOver(const TrackingInstrument& measured, Instrument& instrument,
                           const TrackingStreamData& frame, Clock::time_point time) {
    const bool wasTracked = instrument.quality > 0.0;
    instrument.id = measured.trackerId.ID;
    instrument.name = measured.trackerId.name.empty() ? instrument.id : measured.trackerId.name;
    instrument.isMain = !frame.mainId.empty() && instrument.id == frame.mainId;
    instrument.quality = measured.quality;
    instrument.matrix = measured.matrix;
    if (!measured.active || !(measured.quality > 0.0) || !isPose(measured.matrix))
        return;
    const Vector3d position = measured.matrix.topRightCorner<3, 1>();
    instrument.trail.push_back({position, time, wasTracked && !instrument.trail.empty()});
    if (instrument.trail.size() > longestTrail)
        instrument.trail.pop_front();
    extendSeen(position);
}

void VolumeModel::takeStrays(const TrackingStreamData& frame) {
    strayMarkers.clear();
    for (const auto& component : frame.components()) {
        const auto* const fiducials =
            dynamic_cast<const TrackingInstrumentFiducialsData*>(component.get());
        if (fiducials == nullptr)
            continue;
        for (const auto& [x, y, z] : fiducials->positions)
            if (const Vector3d place(x, y, z); isPlace(place) && strayMarkers.size() < mostStrays)
                strayMarkers.push_back(place);
    }
    for (const Vector3d& stray : strayMarkers)
        extendSeen(stray);
}

void VolumeModel::fadeTrails(Clock::time_point now) {
    for (Instrument& instrument : shown)
        while (!instrument.trail.empty() && now - instrument.trail.front().time > trailLength)
            instrument.trail.pop_front();
}

void VolumeModel::extendSeen(const Vector3d& point) {
    if (!seen)
        seen = Bounds{point, point};
    const Bounds extended{seen->minimum.cwiseMin(point), seen->maximum.cwiseMax(point)};
    if (extended.minimum != seen->minimum || extended.maximum != seen->maximum)
        ++version;
    seen = extended;
}

void VolumeModel::setVolumeText(const std::string& text) {
    if (text == volume)
        return;
    volume = text;
    ++version;
    const auto parsed = OperatingVolume::parse(text);
    lines = parsed ? parsed->outline() : std::vector<OperatingVolume::Line>{};
}

bool VolumeModel::hasTrails() const {
    return std::any_of(shown.begin(), shown.end(), [](const auto& i) { return !i.trail.empty(); });
}

void VolumeModel::clear() {
    const int next = version + 1;
    *this = VolumeModel();
    version = next;
}

std::vector<Vector3d> VolumeModel::landmarks() const {
    std::vector<Vector3d> points;
    for (const OperatingVolume::Line& line : lines)
        points.insert(points.end(), line.begin(), line.end());
    return points.empty() ? cornersAround(seen.value_or(Bounds{}), 200.0) : points;
}

std::vector<Vector3d> VolumeModel::corners() const {
    OperatingVolume::Line places;
    for (const Instrument& instrument : shown)
        if (instrument.isVisible())
            places.emplace_back(instrument.matrix.topRightCorner<3, 1>());
    const auto box = boundsOf({places.empty() ? strayMarkers : places});
    return box ? cornersAround(*box, 50.0) : std::vector<Vector3d>{};
}

} // namespace Morvalin::App

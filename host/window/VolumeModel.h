#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include <Eigen/Core>

#include <morvalingui/InstrumentState.h>
#include <morvalinstream/TrackingStreamData.h>

#include "window/FrameMailbox.h"
#include "window/OperatingVolume.h"

namespace Morvalin::App {

/// What there is to see of the tracked volume: instruments with their trails, stray markers, the
/// outline. Knows nothing of how it is drawn. Used by one thread.
class VolumeModel {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds trailLength{5000};
    static constexpr std::size_t longestTrail = 1000; ///< points
    static constexpr std::size_t mostStrays = 1000;

    struct TrailPoint {
        Eigen::Vector3d position;
        Clock::time_point time;
        bool continues; ///< was seen without a gap since the point before it
    };

    struct Instrument {
        int number; ///< from 1, in the stream's order
        std::string id;
        std::string name; ///< for people; the id when it has no name of its own
        bool isMain = false;
        InstrumentState state = InstrumentState::Disabled;
        double quality = 0.0;
        Matrix4 matrix = Matrix4::Identity();
        std::deque<TrailPoint> trail;

        /// Its pose is one of now and can be drawn.
        bool isVisible() const;
    };

    /// Takes over the frames that came since the last call, the oldest first, as seen at `now`.
    void update(const std::vector<FrameMailbox::Frame>& frames, bool isRunning,
                Clock::time_point now);

    /// Draws this volume's outline from now on; none for a text that cannot be understood.
    void setVolumeText(const std::string& text);
    const std::string& volumeText() const { return volume; }

    /// Forgets everything.
    void clear();

    const std::vector<Instrument>& instruments() const { return shown; }
    const std::vector<Eigen::Vector3d>& strays() const { return strayMarkers; }
    const std::vector<OperatingVolume::Line>& outline() const { return lines; }

    bool hasTrails() const;

    /// What the view should have in sight: the outline, or else the corners of a box around all
    /// that was ever seen.
    std::vector<Eigen::Vector3d> landmarks() const;
    /// The corners of a box around the instruments that are seen now, or else around the stray
    /// markers; none without any.
    std::vector<Eigen::Vector3d> corners() const;
    /// Changes whenever the landmarks do.
    int landmarksVersion() const { return version; }

private:
    void addFrame(const TrackingStreamData& frame, Clock::time_point now);
    void takeOver(const TrackingInstrument& measured, Instrument& instrument,
                  const TrackingStreamData& frame, Clock::time_point time);
    void takeStrays(const TrackingStreamData& frame);
    void fadeTrails(Clock::time_point now);
    void extendSeen(const Eigen::Vector3d& point);

    std::vector<Instrument> shown;
    std::vector<Eigen::Vector3d> strayMarkers;
    std::string volume;
    std::vector<OperatingVolume::Line> lines;
    std::optional<Bounds> seen;
    InstrumentStates states;
    int version = 0;
    FrameMailbox::Frame newest;
    Clock::time_point lastArrival;
};

} // namespace Morvalin::App

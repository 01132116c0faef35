#pragma once

#include "simulator/Path.h"
#include "simulator/Simulator.h"

#include <morvalinstream/TrackingStreamData.h>

#include <cmath>
#include <cstdint>
#include <set>

namespace Morvalin {

/// Follows the frames of a stream by the numbers that their poses tell, against the counter of the
/// device that measured them.
class FrameCount {
public:
    struct Totals {
        std::uint64_t measured =
            0; ///< by the device between the first and the last frame handed out
        std::uint64_t delivered = 0;
        std::uint64_t lostToFaults = 0;
        std::uint64_t notAskedFor = 0; ///< by nobody while the device had them
        std::uint64_t lost = 0;        ///< well answered and not handed out
        std::uint64_t doubled = 0;
        std::uint64_t wrong = 0; ///< off the path, or more than 200 frames old
    };

    FrameCount(const ndisim::Simulator& device, ndisim::Family deviceFamily) :
        simulator(device), family(deviceFamily) {}

    /// The next frame is the first of its session.
    void beginSession() {
        spoiledGaps = 1;
        hasFrame = false;
    }

    /// Called on the stream's thread.
    void add(const TrackingStreamData& frame) {
        for (const TrackingInstrument& tool : frame.instruments)
            if (tool.active && tool.quality > 0)
                return addPose(tool);
    }

    Totals totals; ///< to be read while the stream does not run

private:
    void addPose(const TrackingInstrument& tool) {
        ++totals.delivered;
        const ndisim::Position position{tool.matrix(0, 3), tool.matrix(1, 3), tool.matrix(2, 3)};
        const ndisim::PathPoint point = ndisim::locateOnPath(family, position);
        const std::uint32_t now = simulator.frameNumber();
        const std::uint32_t age =
            (now + ndisim::pathPeriod - point.frame % ndisim::pathPeriod) % ndisim::pathPeriod;
        if (!isOnPath(position, point) || age > maxAge)
            ++totals.wrong;
        else
            follow(now - age);
    }

    bool isOnPath(const ndisim::Position& position, const ndisim::PathPoint& point) const {
        const ndisim::Pose pose = ndisim::pathPose(family, point.place, point.frame);
        double distance = 0;
        for (std::size_t axis = 0; axis < position.size(); ++axis)
            distance = std::max(distance, std::abs(position[axis] - pose.position[axis]));
        return distance < 0.006; // text replies have two decimals
    }

    /// A fault may leave a late answer behind, which the exchange after it reads: two gaps are its.
    void follow(std::uint32_t number) {
        if (const std::size_t faults = simulator.faultCount(); faults != faultsSeen) {
            faultsSeen = faults;
            spoiledGaps = 2;
        }
        const bool isSpoiled = spoiledGaps > 0;
        if (hasFrame && number > last) {
            totals.measured += number - last;
            countGap(number, isSpoiled);
        } else if (hasFrame && number == last) {
            ++totals.doubled;
        } else if (hasFrame && !isSpoiled) {
            ++totals.wrong;
        }
        spoiledGaps -= isSpoiled ? 1 : 0;
        last = number;
        hasFrame = true;
    }

    void countGap(std::uint32_t number, bool isSpoiled) {
        const std::uint64_t missing = number - last - 1;
        if (isSpoiled || missing == 0) {
            totals.lostToFaults += missing;
            return;
        }
        std::set<std::uint32_t> answered;
        for (const ndisim::Exchange& exchange : simulator.exchanges())
            if (exchange.measurement && exchange.measurement->frame > last &&
                exchange.measurement->frame < number)
                answered.insert(exchange.measurement->frame);
        totals.lost += answered.size();
        totals.notAskedFor += missing - answered.size();
    }

    static constexpr std::uint32_t maxAge = 200;

    const ndisim::Simulator& simulator;
    const ndisim::Family family;
    bool hasFrame = false;
    std::uint32_t last = 0;
    std::size_t faultsSeen = 0;
    int spoiledGaps = 0;
};

} // namespace Morvalin

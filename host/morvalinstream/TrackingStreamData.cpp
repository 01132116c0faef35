#include <morvalinstream/TrackingStreamData.h>

#include <utility>

#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Morvalin {

std::string TrackingStreamData::kind() const {
    return "TrackingStreamData";
}

std::string TrackingStreamData::describe() const {
    return "Frame of " + streamName + ": " + std::to_string(instruments.size()) +
           " instruments at " + std::to_string(timestamp) + " ms";
}

void TrackingStreamData::addComponent(std::unique_ptr<const Data> component) {
    if (component)
        parts.push_back(std::move(component));
}

std::string TrackingInstrumentFiducialsData::kind() const {
    return "TrackingInstrumentFiducialsData";
}

std::string TrackingInstrumentFiducialsData::describe() const {
    return std::to_string(positions.size()) + " fiducials";
}

} // namespace Morvalin

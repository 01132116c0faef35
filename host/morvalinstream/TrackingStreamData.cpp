#include <morvalinstream/TrackingStreamData.h>

#include <utility>

namespace Morvalin {

std::string TrackingStreamData::kind() const {
    return "TrackingStreamData";
}

std::string TrackingStreamData::describe() const {
    return "Frame of " + streamName + ": " + std::to_string(instruments.size()) +
           " instruments at " + std::to_string(timestamp) + " ms";
}

void TrackingStreamData::addComponent(std::unique_ptr<Data> component) {
    if (component)
        parts.push_back(std::move(component));
}

} // namespace Morvalin

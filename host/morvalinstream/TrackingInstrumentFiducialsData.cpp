#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Morvalin {

std::string TrackingInstrumentFiducialsData::kind() const {
    return "TrackingInstrumentFiducialsData";
}

std::string TrackingInstrumentFiducialsData::describe() const {
    return std::to_string(positions.size()) + " fiducials";
}

} // namespace Morvalin

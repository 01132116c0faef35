#include <algorithm>
#include <span>

#include <nlohmann/json.hpp>

#include "outputs/TextOutput.h"
#include <morvalinstream/TrackingInstrumentFiducialsData.h>

namespace Morvalin::App {

namespace {

using Json = nlohmann::ordered_json; // members stay in the order in which they are named

Json instruments(const TrackingStreamData& frame) {
    Json list = Json::array();
    for (const TrackingInstrument& instrument : frame.instruments)
        list.push_back({{"id", instrument.trackerId.ID},
                        {"name", instrument.trackerId.name},
                        {"model", instrument.trackerId.modelNumber},
                        {"type", instrument.toolType},
                        {"active", instrument.active},
                        {"quality", instrument.quality},
                        {"timestamp", instrument.timestamp},
                        {"matrix", std::span(instrument.matrix.data(), 16)}});
    return list;
}

Json fiducials(const TrackingStreamData& frame) {
    Json list = Json::array();
    for (const auto& component : frame.components()) {
        const auto* const found =
            dynamic_cast<const TrackingInstrumentFiducialsData*>(component.get());
        if (found == nullptr)
            continue;
        const std::size_t count = std::min(found->positions.size(), found->identifiers.size());
        for (std::size_t i = 0; i < count; ++i)
            list.push_back({{"id", found->identifiers[i]}, {"position", found->positions[i]}});
    }
    return list;
}

} // namespace

std::string jsonFrame(const std::string& stream, std::uint64_t index,
                      const TrackingStreamData& frame) {
    const Json object{{"stream", stream},
                      {"frame", index},
                      {"timestamp", frame.timestamp},
                      {"main", frame.mainId},
                      {"instruments", instruments(frame)},
                      {"fiducials", fiducials(frame)}};
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace Morvalin::App

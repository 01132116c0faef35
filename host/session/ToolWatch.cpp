#include "session/ToolWatch.h"

#include <algorithm>

namespace Morvalin::App {

std::vector<StreamEvent> ToolWatch::onFrame(const TrackingStreamData& frame) {
    std::vector<StreamEvent> changes;
    std::vector<std::string> nowInactive;
    for (const TrackingInstrument& instrument : frame.instruments) {
        if (!instrument.active)
            nowInactive.push_back(instrument.trackerId.ID);
        if (instrument.active != wasInactive(instrument.trackerId.ID))
            continue;
        StreamEvent& change = changes.emplace_back();
        change.kind = StreamEvent::Kind::Tool;
        change.tool = instrument.trackerId;
        change.isActive = instrument.active;
    }
    inactive = std::move(nowInactive);
    return changes;
}

bool ToolWatch::wasInactive(const std::string& id) const {
    return std::find(inactive.begin(), inactive.end(), id) != inactive.end();
}

} // namespace Morvalin::App

#include <morvalingui/InstrumentState.h>

#include <utility>

#include <QCoreApplication>

namespace Morvalin {

QString instrumentStateText(InstrumentState state) {
    const char* text = "";
    switch (state) {
    case InstrumentState::Tracked:
        text = QT_TRANSLATE_NOOP("InstrumentState", "Tracked");
        break;
    case InstrumentState::Inaccurate:
        text = QT_TRANSLATE_NOOP("InstrumentState", "Inaccurate");
        break;
    case InstrumentState::NotVisible:
        text = QT_TRANSLATE_NOOP("InstrumentState", "Not visible");
        break;
    case InstrumentState::NoData:
        text = QT_TRANSLATE_NOOP("InstrumentState", "No data");
        break;
    case InstrumentState::Stopped:
        text = QT_TRANSLATE_NOOP("InstrumentState", "Not tracking");
        break;
    case InstrumentState::Disabled:
        text = QT_TRANSLATE_NOOP("InstrumentState", "Disabled");
        break;
    }
    return QCoreApplication::translate("InstrumentState", text);
}

bool hasCurrentPose(InstrumentState state) {
    return state == InstrumentState::Tracked || state == InstrumentState::Inaccurate;
}

namespace {

InstrumentState measuredState(const TrackingInstrument& instrument) {
    if (instrument.quality > 0.0)
        return InstrumentState::Tracked;
    // An instrument that is not seen gets the identity, one that is badly seen a pose of its own.
    return instrument.matrix.isIdentity(0.0) ? InstrumentState::NotVisible
                                             : InstrumentState::Inaccurate;
}

} // namespace

void InstrumentStates::update(const std::vector<TrackingInstrument>& instruments,
                              bool isStreamRunning, Clock::time_point now) {
    std::map<std::string, Record> updated;
    for (const TrackingInstrument& instrument : instruments) {
        const auto known = records.find(instrument.trackerId.ID);
        Record record{InstrumentState::Disabled, instrument.timestamp, now};
        if (known != records.end() && known->second.timestamp == instrument.timestamp)
            record.renewed = known->second.renewed;
        const bool isOverdue = instrument.timestamp == 0 || now - record.renewed > patience;
        if (!instrument.active)
            record.state = InstrumentState::Disabled;
        else if (!isStreamRunning)
            record.state = InstrumentState::Stopped;
        else
            record.state = isOverdue ? InstrumentState::NoData : measuredState(instrument);
        updated.emplace(instrument.trackerId.ID, record);
    }
    records = std::move(updated);
}

InstrumentState InstrumentStates::state(const std::string& id) const {
    const auto known = records.find(id);
    return known != records.end() ? known->second.state : InstrumentState::Disabled;
}

} // namespace Morvalin

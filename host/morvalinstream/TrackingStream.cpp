#include <morvalinstream/TrackingStream.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "EmptyInstruments.h"

namespace Morvalin {
namespace {

std::int64_t millisecondsNow() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
}

/// An inactive instrument is not measured: its stamp is that of a measurement long past, or of a
/// clock that has been put back since. 0 when nothing was measured.
std::int64_t newestTimestamp(const std::vector<TrackingInstrument>& instruments) {
    std::int64_t newest = 0;
    for (const TrackingInstrument& instrument : instruments)
        if (instrument.active)
            newest = std::max(newest, instrument.timestamp);
    return newest;
}

bool contains(const std::vector<TrackingInstrument>& instruments, const std::string& id) {
    return std::any_of(
        instruments.begin(), instruments.end(),
        [&](const TrackingInstrument& instrument) { return instrument.trackerId.ID == id; });
}

} // namespace

TrackingStream::TrackingStream(std::string name) :
    Stream(std::move(name)), trackedInstruments(std::make_shared<EmptyInstruments>()) {}

TrackingStream::~TrackingStream() = default;

std::vector<std::string> TrackingStream::devices() const {
    return {name()};
}

std::shared_ptr<ThreadSafeInstrumentsBase> TrackingStream::instruments() const {
    return trackedInstruments;
}

std::vector<TrackingInstrument> TrackingStream::activeInstruments() const {
    std::vector<TrackingInstrument> active = trackedInstruments->instruments();
    std::erase_if(active, [](const TrackingInstrument& instrument) { return !instrument.active; });
    return active;
}

std::size_t TrackingStream::numInstruments() const {
    return trackedInstruments->size();
}

bool TrackingStream::supportsMainInstrumentSelection() const {
    return true;
}

bool TrackingStream::supportsInstrumentRenaming() const {
    return false;
}

void TrackingStream::setInstruments(std::shared_ptr<ThreadSafeInstrumentsBase> registry) {
    if (registry)
        trackedInstruments = std::move(registry);
    else
        trackedInstruments = std::make_shared<EmptyInstruments>();
}

void TrackingStream::emitSignals(std::uint32_t flags) {
    if (flags & InstrumentModification::Instruments)
        instrumentsChanged();
    if (flags & InstrumentModification::MainInstrument)
        mainInstrumentChanged();
    if (flags & InstrumentModification::Data)
        instrumentDataChanged();
}

std::unique_ptr<TrackingStreamData> TrackingStream::createTrackingStreamData() const {
    auto frame = std::make_unique<TrackingStreamData>();
    frame->streamName = name();
    frame->instruments = trackedInstruments->instruments();
    frame->mainId = trackedInstruments->mainId();
    // The registry may have changed between the two questions; a frame agrees with itself.
    if (!contains(frame->instruments, frame->mainId))
        frame->mainId.clear();
    frame->timestamp = newestTimestamp(frame->instruments);
    if (frame->timestamp == 0)
        frame->timestamp = millisecondsNow();
    return frame;
}

} // namespace Morvalin

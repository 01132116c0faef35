#include "streams/ThreadSafeInstruments.h"

#include "streams/internal/NdiLog.h"

#include <boost/thread/lock_guard.hpp>

#include <iterator>
#include <utility>

namespace Morvalin {
namespace {

using Lock = boost::lock_guard<std::mutex>;

template <class... Pieces>
void logError(const Pieces&... pieces) {
    logText(Log::Error, "ThreadSafeInstruments", pieces...);
}

void logUnknown(const char* operation, const std::string& id) {
    logError(operation, ": Instrument with ID ", id, " not found");
}

void copyAllButTexts(const TrackingInstrument& from, TrackingInstrument& to) {
    to.matrix = from.matrix;
    to.quality = from.quality;
    to.timestamp = from.timestamp;
    to.trackingState = from.trackingState;
    to.active = from.active;
}

std::uint32_t difference(const TrackingInstrument& now, const TrackingInstrument& before) {
    std::uint32_t flags = InstrumentModification::None;
    if (now.trackerId.name != before.trackerId.name ||
        now.trackerId.modelNumber != before.trackerId.modelNumber)
        flags |= InstrumentModification::Instruments;
    if (!now.hasSameData(before))
        flags |= InstrumentModification::Data;
    return flags;
}

} // namespace

// ---- Reading

template <class Special>
std::vector<TrackingInstrument> ThreadSafeInstruments<Special>::instruments() const {
    const Lock lock(mutex);
    std::vector<TrackingInstrument> copies;
    copies.reserve(entries.size());
    for (const auto& [id, entry] : entries)
        copies.push_back(entry.instrument);
    return copies;
}

template <class Special>
std::optional<TrackingInstrument> ThreadSafeInstruments<Special>::mainInstrument() const {
    const Lock lock(mutex);
    const auto found = entries.find(mainInstrumentId);
    if (found == entries.end())
        return std::nullopt;
    return found->second.instrument;
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::mainIndex() const {
    const Lock lock(mutex);
    return mainInstrumentIndex;
}

template <class Special>
std::string ThreadSafeInstruments<Special>::mainId() const {
    const Lock lock(mutex);
    return mainInstrumentId;
}

template <class Special>
std::string ThreadSafeInstruments<Special>::name(const std::string& id) const {
    const Lock lock(mutex);
    const auto found = entries.find(id);
    return found == entries.end() ? std::string() : found->second.instrument.trackerId.name;
}

template <class Special>
bool ThreadSafeInstruments<Special>::isActive(const std::string& id) const {
    const Lock lock(mutex);
    const auto found = entries.find(id);
    if (found != entries.end())
        return found->second.instrument.active;
    logUnknown("isActive", id);
    return false;
}

template <class Special>
std::size_t ThreadSafeInstruments<Special>::size() const {
    const Lock lock(mutex);
    return entries.size();
}

template <class Special>
std::optional<TrackingInstrument>
ThreadSafeInstruments<Special>::instrument(const std::string& id) const {
    const Lock lock(mutex);
    const auto found = entries.find(id);
    if (found == entries.end())
        return std::nullopt;
    return found->second.instrument;
}

// ---- The main instrument

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::setMainByIndex(std::uint32_t index) {
    const Lock lock(mutex);
    if (index == mainInstrumentIndex)
        return InstrumentModification::None;
    if (index >= entries.size()) {
        logError("Index ", index, " exceeds size of instruments");
        return InstrumentModification::None;
    }
    const std::uint32_t flags = makeMain(std::next(entries.begin(), index)->first);
    mainInstrumentIndex = index;
    return flags;
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::setMainById(const std::string& id) {
    const Lock lock(mutex);
    if (id == mainInstrumentId || entries.contains(id))
        return makeMain(id);
    logUnknown("setMainById", id);
    return InstrumentModification::None;
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::makeMain(const std::string& id) {
    if (id == mainInstrumentId)
        return InstrumentModification::None;
    mainInstrumentId = id;
    mainInstrumentIndex =
        static_cast<std::uint32_t>(std::distance(entries.begin(), entries.find(id)));
    return InstrumentModification::MainInstrument;
}

// ---- Which instruments there are

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::create(const TrackerID& trackerId, bool active) {
    const Lock lock(mutex);
    return insert(trackerId, nullptr, active);
}

template <class Special>
std::uint32_t
ThreadSafeInstruments<Special>::create(const std::string& baseId, const std::string& modelNumber,
                                       const std::string& instrumentName, bool active) {
    const Lock lock(mutex);
    std::string id;
    for (std::uint32_t counter = 0; id.empty() || entries.contains(id); ++counter)
        id = baseId + std::to_string(counter);
    return insert(TrackerID(id, instrumentName, modelNumber), nullptr, active);
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::create(const TrackerID& trackerId,
                                                     std::unique_ptr<Special> special,
                                                     bool active) {
    const Lock lock(mutex);
    return insert(trackerId, std::move(special), active);
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::insert(const TrackerID& trackerId,
                                                     std::unique_ptr<Special> special,
                                                     bool active) {
    if (entries.contains(trackerId.ID)) {
        logError("create: Instrument with ID ", trackerId.ID, " already exists");
        return InstrumentModification::None;
    }
    Entry entry;
    entry.instrument.trackerId = trackerId;
    entry.instrument.active = active;
    entry.special = std::move(special);
    entries.emplace(trackerId.ID, std::move(entry));
    const std::uint32_t mainFlags =
        entries.size() == 1 ? makeMain(trackerId.ID) : InstrumentModification::None;
    return InstrumentModification::Instruments | mainFlags;
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::remove(const std::string& id) {
    const Lock lock(mutex);
    const bool wasMain = id == mainInstrumentId;
    if (entries.erase(id) == 0) {
        logUnknown("remove", id);
        return InstrumentModification::None;
    }
    std::uint32_t flags = InstrumentModification::Instruments;
    if (wasMain)
        flags |= makeMain(entries.empty() ? std::string() : entries.begin()->first);
    return flags;
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::clear() {
    const Lock lock(mutex);
    const std::uint32_t flags =
        entries.empty() ? InstrumentModification::None : InstrumentModification::Instruments;
    entries.clear();
    return flags | makeMain({});
}

// ---- What the instruments hold

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::setActive(const std::string& id, bool active) {
    const Lock lock(mutex);
    const auto found = entries.find(id);
    if (found == entries.end())
        logUnknown("setActive", id);
    else
        found->second.instrument.active = active;
    return InstrumentModification::None;
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::resetPoses(std::int64_t timestamp) {
    return modifyAll([timestamp](const std::string&, TrackingInstrument& instrument) {
        instrument.matrix = Matrix4::Identity();
        instrument.quality = 0.0;
        instrument.timestamp = timestamp;
        instrument.trackingState = 0;
    });
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::setPose(const std::string& id, const Matrix4& matrix,
                                                      double quality, std::int64_t timestamp,
                                                      std::int32_t trackingState) {
    const Lock lock(mutex);
    const auto found = entries.find(id);
    if (found == entries.end())
        return InstrumentModification::None;
    TrackingInstrument& instrument = found->second.instrument;
    instrument.matrix = matrix;
    instrument.quality = quality;
    instrument.timestamp = timestamp;
    instrument.trackingState = trackingState;
    return InstrumentModification::Data;
}

template <class Special>
template <class Change>
std::uint32_t ThreadSafeInstruments<Special>::modifyChecked(Entry& entry, const Change& change) {
    const TrackingInstrument& live = entry.instrument;
    if (entry.backup)
        copyAllButTexts(live, *entry.backup);
    else
        entry.backup = live;
    try {
        change(entry.instrument);
    } catch (...) {
        putBack(entry);
        throw;
    }
    if (live.trackerId.ID != entry.backup->trackerId.ID) {
        putBack(entry);
        logError(
            "ID must not be modified. TrackingInstrument is reset to state before modification");
        return InstrumentModification::None;
    }
    const std::uint32_t flags = difference(live, *entry.backup);
    if ((flags & InstrumentModification::Instruments) || live.toolType != entry.backup->toolType)
        entry.backup.reset();
    return flags;
}

/// Takes no memory, which may be what is short.
template <class Special>
void ThreadSafeInstruments<Special>::putBack(Entry& entry) {
    entry.instrument = std::move(*entry.backup);
    entry.backup.reset();
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::modify(const std::string& id,
                                                     const ModifyFunction& function) {
    const Lock lock(mutex);
    const auto found = entries.find(id);
    if (found == entries.end())
        return InstrumentModification::None;
    return modifyChecked(found->second,
                         [&](TrackingInstrument& live) { function(found->first, live); });
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::modifyAll(const ModifyFunction& function) {
    const Lock lock(mutex);
    std::uint32_t flags = InstrumentModification::None;
    for (auto& [id, entry] : entries)
        flags |=
            modifyChecked(entry, [&, &key = id](TrackingInstrument& live) { function(key, live); });
    return flags;
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::modifySpecial(typename Entries::value_type& item,
                                                            const char* operation,
                                                            const ModifySpecialFunction& function) {
    auto& [id, entry] = item;
    if (entry.special == nullptr) {
        logError(operation, ": Special object for instrument with ID ", id, " does not exist");
        return InstrumentModification::None;
    }
    return modifyChecked(entry, [&, &key = id, &special = *entry.special](
                                    TrackingInstrument& live) { function(key, live, special); });
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::modify(const std::string& id,
                                                     const ModifySpecialFunction& function) {
    const Lock lock(mutex);
    const auto found = entries.find(id);
    if (found == entries.end())
        return InstrumentModification::None;
    return modifySpecial(*found, "modify", function);
}

template <class Special>
std::uint32_t ThreadSafeInstruments<Special>::modifyAll(const ModifySpecialFunction& function) {
    const Lock lock(mutex);
    std::uint32_t flags = InstrumentModification::None;
    for (auto& item : entries)
        flags |= modifySpecial(item, "modifyAll", function);
    return flags;
}

template class ThreadSafeInstruments<NDITrackingInstrumentInfo>;

} // namespace Morvalin

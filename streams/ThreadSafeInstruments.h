#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <boost/container/flat_map.hpp>

#include <morvalinstream/ThreadSafeInstrumentsBase.h>

#include "streams/NDITrackingInstrumentInfo.h"

namespace Morvalin {

/// The registry of a stream's instruments, in which an instrument may carry a record of type
/// Special that only the stream reads.
///
/// Instruments stand in the byte order of their ids ("10" before "9"). The first one created in an
/// empty registry becomes the main instrument. Every operation holds the registry's lock for its
/// whole run; a thread that also needs the lock of the stream's connection takes that one first.
///
/// An unknown id is answered with nothing: no flags, false, an empty text or no instrument.
/// setMainById(), setActive(), isActive() and remove() log it as an error under
/// "ThreadSafeInstruments"; name(), instrument(), setPose() and modify() are silent about it.
///
/// Functions passed to modify() and modifyAll() may change everything but the id: an instrument
/// whose id was changed is put back as it was before the call, with an error in the log. So is one
/// whose function throws; the exception goes on to the caller, and what modifyAll() did to the
/// instruments before that one stays. The flags they return come from a comparison of the
/// instrument before and after, which ignores the active flag and the tool type.
/// An empty function throws std::bad_function_call when there is an instrument to call it on.
template <class Special>
class ThreadSafeInstruments : public ThreadSafeInstrumentsBase {
public:
    using ModifySpecialFunction =
        std::function<void(const std::string& id, TrackingInstrument&, Special&)>;

    std::vector<TrackingInstrument> instruments() const override;
    std::optional<TrackingInstrument> mainInstrument() const override;
    /// Does nothing when `index` is already the main index, even if instruments have come or gone
    /// since and another one stands there; setMainById() is exact.
    std::uint32_t setMainByIndex(std::uint32_t index) override;
    std::uint32_t setMainById(const std::string& id) override;
    /// The main instrument's place when it became the main one.
    std::uint32_t mainIndex() const override;
    std::string mainId() const override;
    std::string name(const std::string& id) const override;
    /// Always 0: the active flag has no modification flag.
    std::uint32_t setActive(const std::string& id, bool active) override;
    bool isActive(const std::string& id) const override;
    std::uint32_t create(const TrackerID& trackerId, bool active) override;
    std::uint32_t create(const std::string& baseId, const std::string& modelNumber,
                         const std::string& name, bool active) override;
    /// With a record of its own, which is destroyed when the id already exists.
    std::uint32_t create(const TrackerID& trackerId, std::unique_ptr<Special> special, bool active);
    std::uint32_t remove(const std::string& id) override;
    std::uint32_t clear() override;
    std::uint32_t resetPoses(std::int64_t timestamp) override;
    std::uint32_t setPose(const std::string& id, const Matrix4& matrix, double quality,
                          std::int64_t timestamp, std::int32_t trackingState) override;
    std::uint32_t modify(const std::string& id, const ModifyFunction& function) override;
    std::uint32_t modifyAll(const ModifyFunction& function) override;
    /// Instruments without a record are not passed on; an error is logged for each.
    std::uint32_t modify(const std::string& id, const ModifySpecialFunction& function);
    std::uint32_t modifyAll(const ModifySpecialFunction& function);
    std::size_t size() const override;
    std::optional<TrackingInstrument> instrument(const std::string& id) const override;

private:
    struct Entry {
        TrackingInstrument instrument;
        std::unique_ptr<Special> special;
        /// Of modifyChecked(), kept from one change to the next because texts cost more to copy
        /// than to compare. None, or with the texts of the instrument.
        std::optional<TrackingInstrument> backup;
    };
    /// One behind the other in memory: every frame walks over all of them.
    using Entries = boost::container::flat_map<std::string, Entry>;

    // All of these expect the lock to be held.
    std::uint32_t insert(const TrackerID& trackerId, std::unique_ptr<Special> special, bool active);
    std::uint32_t makeMain(const std::string& id);
    template <class Change>
    std::uint32_t modifyChecked(Entry& entry, const Change& change);
    void putBack(Entry& entry);
    std::uint32_t modifySpecial(typename Entries::value_type& item, const char* operation,
                                const ModifySpecialFunction& function);

    mutable std::mutex mutex;
    Entries entries;
    std::string mainInstrumentId;
    std::uint32_t mainInstrumentIndex = 0;
};

extern template class ThreadSafeInstruments<NDITrackingInstrumentInfo>;

} // namespace Morvalin

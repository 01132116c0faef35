#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <morvalinstream/Export.h>
#include <morvalinstream/InstrumentModification.h>
#include <morvalinstream/TrackingInstrument.h>

namespace Morvalin {

/// The registry of a tracking stream's instruments, ordered by id.
///
/// Every operation may be called from any thread and is atomic; results are copies. Operations that
/// change something return a set of InstrumentModification flags, which the caller hands to
/// TrackingStream::emitSignals(). Functions passed to modify() and modifyAll() run under the
/// registry's lock and must not call back into it; what they throw reaches the caller. Unknown ids
/// are never thrown: they are answered with nothing, and a registry may log them.
class MORVALINSTREAM_EXPORT ThreadSafeInstrumentsBase {
public:
    using ModifyFunction = std::function<void(const std::string& id, TrackingInstrument&)>;

    virtual ~ThreadSafeInstrumentsBase();
    virtual std::vector<TrackingInstrument> instruments() const = 0;
    /// None when the main id names no instrument.
    virtual std::optional<TrackingInstrument> mainInstrument() const = 0;
    virtual std::uint32_t setMainByIndex(std::uint32_t index) = 0;
    virtual std::uint32_t setMainById(const std::string& id) = 0;
    virtual std::uint32_t mainIndex() const = 0;
    virtual std::string mainId() const = 0;
    virtual std::string name(const std::string& id) const = 0;
    virtual std::uint32_t setActive(const std::string& id, bool active) = 0;
    virtual bool isActive(const std::string& id) const = 0;
    virtual std::uint32_t create(const TrackerID& trackerId, bool active) = 0;
    /// The id is baseId followed by the first decimal number that makes it new.
    virtual std::uint32_t create(const std::string& baseId, const std::string& modelNumber,
                                 const std::string& name, bool active) = 0;
    virtual std::uint32_t remove(const std::string& id) = 0;
    virtual std::uint32_t clear() = 0;
    /// Identity, quality 0, tracking state 0 and the given timestamp for every instrument.
    virtual std::uint32_t resetPoses(std::int64_t timestamp) = 0;
    virtual std::uint32_t setPose(const std::string& id, const Matrix4& matrix, double quality,
                                  std::int64_t timestamp, std::int32_t trackingState) = 0;
    virtual std::uint32_t modify(const std::string& id, const ModifyFunction& function) = 0;
    virtual std::uint32_t modifyAll(const ModifyFunction& function) = 0;
    virtual std::size_t size() const = 0;
    virtual std::optional<TrackingInstrument> instrument(const std::string& id) const = 0;
};

} // namespace Morvalin

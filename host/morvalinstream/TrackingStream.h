#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <morvalinstream/Export.h>
#include <morvalinstream/Stream.h>
#include <morvalinstream/ThreadSafeInstrumentsBase.h>
#include <morvalinstream/TrackingStreamData.h>

namespace Morvalin {

/// A stream of instrument poses. Its instruments live in a registry, which the derived class
/// installs in its constructor; before that the registry is one that holds nothing.
///
/// The three signals may be emitted on any thread and under the locks of the derived stream. Their
/// receivers touch only the registry; whatever else they want to do, asking the stream
/// for its configuration included, they queue.
class MORVALINSTREAM_EXPORT TrackingStream : public Stream {
public:
    explicit TrackingStream(std::string name);
    ~TrackingStream() override;

    /// Names of the devices that the stream reads; its own name by default.
    virtual std::vector<std::string> devices() const;
    /// The registry, shared with the caller.
    virtual std::shared_ptr<ThreadSafeInstrumentsBase> instruments() const;
    /// Copies of the instruments whose active flag is set.
    virtual std::vector<TrackingInstrument> activeInstruments() const;
    virtual std::size_t numInstruments() const;
    virtual bool supportsMainInstrumentSelection() const;
    virtual bool supportsInstrumentRenaming() const;

    /// Pose, quality, timestamp or tracking state of some instrument changed.
    Signal<void()> instrumentDataChanged;
    Signal<void()> mainInstrumentChanged;
    /// Instruments came or went, or one was renamed.
    Signal<void()> instrumentsChanged;

protected:
    /// For the constructor of a derived class only. Null stands for a registry that holds nothing.
    void setInstruments(std::shared_ptr<ThreadSafeInstrumentsBase> registry);

    /// Emits the signal of every flag in a set of InstrumentModification flags; 0 emits nothing.
    void emitSignals(std::uint32_t flags);

    /// A frame with copies of the instruments, the main id, the stream's name and a timestamp: the
    /// newest of the active instruments, or the system clock's when none of them has a positive
    /// one. Takes only the registry's lock.
    std::unique_ptr<TrackingStreamData> createTrackingStreamData() const;

private:
    std::shared_ptr<ThreadSafeInstrumentsBase> trackedInstruments;
};

} // namespace Morvalin

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <morvalinstream/TrackingStream.h>

namespace Morvalin {

/// What every stream of an NDI device offers, whatever its family: the choice of the maximum range
/// (the device's operating volume) and of the measurement rate (the speed of its link), and whether
/// the device has been brought up.
///
/// Both choices are made while the stream is closed and take effect when it is opened.
class NDITrackingStream : public TrackingStream {
public:
    explicit NDITrackingStream(std::string name);
    ~NDITrackingStream() override;

    /// True once the device has been brought up, until the stream begins to close.
    virtual bool isInitialized() const = 0;

    /// What can be chosen, in the order of the indices; empty when there is no choice.
    virtual std::vector<std::string> measurementRateOptions() const;
    virtual std::int32_t measurementRate() const = 0;
    virtual void setMeasurementRate(std::int32_t index) = 0;

    /// Likewise. Operating volumes are known once the device has been asked for them. The call, and
    /// with it configuration(), waits for the exchange under way with the device and while the
    /// stream is being opened.
    virtual std::vector<std::string> maxRangeOptions() const;
    virtual std::int32_t maxRange() const;
    virtual void setMaxRange(std::int32_t index);

    // Configurable

    /// Reads "maxRange". Warns about "startAfterInit" and "blockingInit", which older versions
    /// saved.
    void configure(const Properties* properties) override;
    /// Writes "maxRange", a choice among maxRangeOptions(), if there are any.
    void configuration(Properties* properties) override;
};

} // namespace Morvalin

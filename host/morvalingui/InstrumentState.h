#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <QString>

#include <morvalingui/Export.h>
#include <morvalinstream/TrackingInstrument.h>

namespace Morvalin {

/// What a person who looks at an instrument must know before trusting its pose.
enum class InstrumentState {
    Tracked,    ///< seen in the last measurement
    Inaccurate, ///< seen, but with an error for which no quality is left
    NotVisible, ///< measured, but not seen
    NoData,     ///< the stream runs, but nothing new has come for InstrumentStates::patience
    Stopped,    ///< the stream does not run; what the registry holds is old
    Disabled    ///< not active
};

/// In words, in the language of the user.
MORVALINGUI_EXPORT QString instrumentStateText(InstrumentState state);

/// True when the instrument's pose is one of now and may be shown as such.
MORVALINGUI_EXPORT bool hasCurrentPose(InstrumentState state);

/// Follows the instruments of one stream and tells their states. An instrument in a registry keeps
/// its last pose for ever; this tells a pose that is being renewed from one that was left standing,
/// without trusting the system clock. Used by one thread.
class MORVALINGUI_EXPORT InstrumentStates {
public:
    using Clock = std::chrono::steady_clock;

    /// How long an instrument may go without a new timestamp while its stream runs. The slowest
    /// device measures every 50 ms.
    static constexpr std::chrono::milliseconds patience{1000};

    /// Takes over what the registry holds at `now`. Call it more often than `patience`.
    void update(const std::vector<TrackingInstrument>& instruments, bool isStreamRunning,
                Clock::time_point now);

    /// Disabled for an unknown id.
    InstrumentState state(const std::string& id) const;

private:
    struct Record {
        InstrumentState state = InstrumentState::Disabled;
        std::int64_t timestamp = 0;
        Clock::time_point renewed; ///< when that timestamp was first seen
    };
    std::map<std::string, Record> records;
};

} // namespace Morvalin

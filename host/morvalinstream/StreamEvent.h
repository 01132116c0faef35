#pragma once

#include <cstdint>
#include <string>

#include <morvalinstream/TrackerID.h>

namespace Morvalin {

/// Something other than a frame that happened to a stream and that whoever takes its frames wants
/// to know. A plain copyable record; what a kind does not name below is empty.
struct StreamEvent {
    enum class Kind {
        Opened,
        Closed,       ///< or it did not open; with the reason if something went wrong
        Stalled,      ///< it runs but hands out no frames; with gap and reason
        Resumed,      ///< frames come again; with the gap
        Reconnecting, ///< it is closed, and opened again after a pause; with attempt and reason
        Tool          ///< an instrument became active or inactive; with tool and isActive
    };

    Kind kind = Kind::Opened;
    std::int64_t timestamp = 0; ///< milliseconds since 1970-01-01 UTC
    double gap = 0.0;           ///< seconds without a frame
    double pause = 0.0;         ///< seconds until the stream is opened again
    unsigned attempt = 0;       ///< number of that try since there was a frame, from 1
    std::string reason;         ///< the stream's last error since its last frame
    TrackerID tool{};
    bool isActive = false;
};

} // namespace Morvalin

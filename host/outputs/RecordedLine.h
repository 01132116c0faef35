#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <morvalinstream/StreamEvent.h>
#include <morvalinstream/TrackingStreamData.h>

namespace Morvalin::App {

/// What one line of a recording tells: a frame or an event of a stream.
struct RecordedLine {
    std::string stream;
    std::uint64_t index = 0;                         ///< of the frame
    std::unique_ptr<const TrackingStreamData> frame; ///< null for an event
    StreamEvent event;                               ///< when there is no frame

    /// Milliseconds since 1970-01-01 UTC.
    std::int64_t timestamp() const { return frame ? frame->timestamp : event.timestamp; }
};

/// Reads back what jsonFrame and jsonEvent write, so that they would write the same line again.
/// Members that they do not write are passed over. Throws std::runtime_error, with what is wrong,
/// for everything else.
RecordedLine readRecordedLine(std::string_view line);

} // namespace Morvalin::App

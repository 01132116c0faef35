#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "outputs/FrameOutput.h"

namespace Morvalin::App {

/// Makes a text of a frame, line ends included.
using FrameFormat = std::string (*)(const std::string& stream, std::uint64_t index,
                                    const TrackingStreamData& frame);

/// Likewise of an event.
using EventFormat = std::string (*)(const std::string& stream, const StreamEvent& event);

/// One JSON object on one line. Numbers read back as the same double, values that are not numbers
/// are null, bytes that are not UTF-8 become U+FFFD.
std::string jsonFrame(const std::string& stream, std::uint64_t index,
                      const TrackingStreamData& frame);

/// One JSON object on one line, whose first member is "event".
std::string jsonEvent(const std::string& stream, const StreamEvent& event);

/// A row for each instrument, of the columns that csvHeader names; fields in which there is nothing
/// to say are empty. Numbers read back as the same double, each row is one line.
std::string csvFrame(const std::string& stream, std::uint64_t index,
                     const TrackingStreamData& frame);

inline constexpr std::string_view csvHeader =
    "timestamp_ms,stream,frame,id,name,active,visible,x_mm,y_mm,z_mm,qw,qx,qy,qz,quality,rms_mm\n";

/// A line for the frame and one for each instrument: position in millimetres, unit quaternion (w x
/// y z) and quality. The main instrument is marked by an asterisk.
std::string readableFrame(const std::string& stream, std::uint64_t index,
                          const TrackingStreamData& frame);

/// Frames, and events if wanted, as text.
class TextOutput : public FrameOutput {
public:
    /// Writes the whole text of a frame; false when nothing can be written any more. Called on the
    /// threads of the streams, by one at a time.
    using Writer = std::function<bool(std::string_view text)>;

    /// Without a format for them, events are left out.
    TextOutput(FrameFormat frameFormat, EventFormat eventFormat, Writer textWriter);

    bool take(const std::string& stream, std::uint64_t index,
              const TrackingStreamData& frame) override;
    void note(const std::string& stream, const StreamEvent& event) override;

    /// For the end of the process: nothing more is written after this, and nothing is half written
    /// unless the writer takes longer than so. Whoever wants to write waits for ever.
    void stopForGood(std::chrono::milliseconds patience);

private:
    bool put(const std::string& text);

    const FrameFormat formatFrame;
    const EventFormat formatEvent;
    const Writer write;
    std::mutex mutex;
    bool isOpen = true;
};

} // namespace Morvalin::App

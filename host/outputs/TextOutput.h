#pragma once

#include <functional>
#include <mutex>
#include <string_view>

#include "outputs/FrameOutput.h"

namespace Morvalin::App {

/// Makes a text of a frame, line ends included.
using FrameFormat = std::string (*)(const std::string& stream, std::uint64_t index,
                                    const TrackingStreamData& frame);

/// One JSON object on one line. Numbers read back as the same double, values that are not numbers
/// are null, bytes that are not UTF-8 become U+FFFD.
std::string jsonFrame(const std::string& stream, std::uint64_t index,
                      const TrackingStreamData& frame);

/// A line for the frame and one for each instrument: position in millimetres, unit quaternion (w x
/// y z) and quality. The main instrument is marked by an asterisk.
std::string readableFrame(const std::string& stream, std::uint64_t index,
                          const TrackingStreamData& frame);

/// Frames as text.
class TextOutput : public FrameOutput {
public:
    /// Writes the whole text of a frame; false when nothing can be written any more. Called on the
    /// threads of the streams, by one at a time.
    using Writer = std::function<bool(std::string_view text)>;

    TextOutput(FrameFormat frameFormat, Writer textWriter);

    bool take(const std::string& stream, std::uint64_t index,
              const TrackingStreamData& frame) override;

private:
    const FrameFormat format;
    const Writer write;
    std::mutex mutex;
    bool isOpen = true;
};

} // namespace Morvalin::App

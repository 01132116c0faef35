#pragma once

#include <cstdint>
#include <string>

#include <morvalinstream/TrackingStreamData.h>

namespace Morvalin::App {

/// Appends one frame to a text. `label` is the name of the stream among those that run, `index`
/// counts the frames of that stream from 0.
using AppendFrame = void (*)(std::string& text, const std::string& label, std::uint64_t index,
                             const TrackingStreamData& frame);

/// One JSON object and a line end. Numbers read back as the same double, values that are not
/// numbers are null, bytes that are not UTF-8 become U+FFFD.
void appendJsonFrame(std::string& text, const std::string& label, std::uint64_t index,
                     const TrackingStreamData& frame);

/// A line for the frame and one for each instrument: position in millimetres, unit quaternion (w x
/// y z) and quality. The main instrument is marked by an asterisk.
void appendReadableFrame(std::string& text, const std::string& label, std::uint64_t index,
                         const TrackingStreamData& frame);

} // namespace Morvalin::App

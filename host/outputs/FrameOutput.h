#pragma once

#include <cstdint>
#include <string>

#include <morvalinstream/TrackingStreamData.h>

namespace Morvalin::App {

/// Where frames go: a terminal, a file, another program.
class FrameOutput {
public:
    virtual ~FrameOutput() = default;

    /// Takes one frame: the name of its stream among those that run, its number among the frames of
    /// that stream from 0, and the frame. Called on the threads of the streams, of several at the
    /// same time; a stream waits for as long as this takes. False when no further frame is wanted,
    /// because nobody reads them or they cannot be written.
    virtual bool take(const std::string& stream, std::uint64_t index,
                      const TrackingStreamData& frame) = 0;
};

} // namespace Morvalin::App

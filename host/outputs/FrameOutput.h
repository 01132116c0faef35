#pragma once

#include <cstdint>
#include <string>

#include <morvalinstream/StreamEvent.h>
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

    /// Takes what else happened to a stream. What happened first comes first, and a change of an
    /// instrument before the frame that shows it; an event that tells of no frames comes while
    /// there are none. Called on any thread, of several at the same time, and while frames of other
    /// streams are taken. Does nothing by default.
    virtual void note(const std::string& stream, const StreamEvent& event);
};

} // namespace Morvalin::App

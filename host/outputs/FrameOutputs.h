#pragma once

#include <vector>

#include "outputs/FrameOutput.h"

namespace Morvalin::App {

/// Hands everything to several outputs, in the order in which they were added and to the main one
/// last: it may wait for its reader, and alone decides whether frames are wanted. What happens to
/// the others is theirs to tell; they must not wait.
class FrameOutputs : public FrameOutput {
public:
    /// The outputs must outlive this.
    explicit FrameOutputs(FrameOutput& mainOutput) : main(mainOutput) {}

    /// Before the first frame.
    void add(FrameOutput& output) { beside.push_back(&output); }

    bool take(const std::string& stream, std::uint64_t index,
              const TrackingStreamData& frame) override;
    void note(const std::string& stream, const StreamEvent& event) override;

private:
    FrameOutput& main;
    std::vector<FrameOutput*> beside;
};

} // namespace Morvalin::App

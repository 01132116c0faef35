#include "outputs/FrameOutputs.h"

namespace Morvalin::App {

bool FrameOutputs::take(const std::string& stream, std::uint64_t index,
                        const TrackingStreamData& frame) {
    for (FrameOutput* const output : beside)
        output->take(stream, index, frame);
    return main.take(stream, index, frame);
}

void FrameOutputs::note(const std::string& stream, const StreamEvent& event) {
    for (FrameOutput* const output : beside)
        output->note(stream, event);
    main.note(stream, event);
}

} // namespace Morvalin::App

#include "outputs/TextOutput.h"

#include <utility>

namespace Morvalin::App {

TextOutput::TextOutput(FrameFormat frameFormat, Writer textWriter) :
    format(frameFormat), write(std::move(textWriter)) {}

bool TextOutput::take(const std::string& stream, std::uint64_t index,
                      const TrackingStreamData& frame) {
    const std::string text = format(stream, index, frame);
    const std::lock_guard lock(mutex);
    isOpen = isOpen && write(text);
    return isOpen;
}

} // namespace Morvalin::App

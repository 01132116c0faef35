#include "outputs/TextOutput.h"

#include <thread>
#include <utility>

namespace Morvalin::App {

TextOutput::TextOutput(FrameFormat frameFormat, EventFormat eventFormat, Writer textWriter) :
    formatFrame(frameFormat), formatEvent(eventFormat), write(std::move(textWriter)) {}

bool TextOutput::take(const std::string& stream, std::uint64_t index,
                      const TrackingStreamData& frame) {
    return put(formatFrame(stream, index, frame));
}

void TextOutput::note(const std::string& stream, const StreamEvent& event) {
    if (formatEvent != nullptr)
        put(formatEvent(stream, event));
}

bool TextOutput::put(const std::string& text) {
    const std::lock_guard lock(mutex);
    isOpen = isOpen && write(text);
    return isOpen;
}

void TextOutput::stopForGood(std::chrono::milliseconds patience) {
    constexpr std::chrono::milliseconds step{5};
    for (; !mutex.try_lock() && patience.count() > 0; patience -= step)
        std::this_thread::sleep_for(step);
}

} // namespace Morvalin::App

#include "window/FrameMailbox.h"

#include <utility>

namespace Morvalin::App {

void FrameMailbox::put(Frame frame) {
    Frame oldest; // destroyed without the lock
    const std::lock_guard lock(mutex);
    ++received;
    if (frames.size() == capacity) {
        oldest = std::move(frames.front());
        frames.pop_front();
    }
    frames.push_back(std::move(frame));
}

std::vector<FrameMailbox::Frame> FrameMailbox::take() {
    std::deque<Frame> taken;
    {
        const std::lock_guard lock(mutex);
        taken.swap(frames);
    }
    return {std::make_move_iterator(taken.begin()), std::make_move_iterator(taken.end())};
}

std::uint64_t FrameMailbox::count() const {
    const std::lock_guard lock(mutex);
    return received;
}

} // namespace Morvalin::App

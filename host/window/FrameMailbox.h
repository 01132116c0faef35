#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include <morvalinstream/TrackingStreamData.h>

namespace Morvalin::App {

/// Where a stream leaves its frames for the display, at its own rate, and the display collects them
/// at its own. Neither ever waits for more than the handing over of a pointer. Any thread.
class FrameMailbox {
public:
    using Frame = std::shared_ptr<const TrackingStreamData>;

    /// What is kept while nobody collects: some seconds of a fast device.
    static constexpr std::size_t capacity = 256;

    /// Leaves a frame; the oldest one gives way when the mailbox is full.
    void put(Frame frame);

    /// All frames since the last call, the oldest first.
    std::vector<Frame> take();

    /// Every frame that was ever put.
    std::uint64_t count() const;

private:
    mutable std::mutex mutex;
    std::deque<Frame> frames;
    std::uint64_t received = 0;
};

} // namespace Morvalin::App

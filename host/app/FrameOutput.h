#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "app/platform/StandardStreams.h"

namespace Morvalin::App {

/// Standard output as several streams share it. Any thread.
class FrameOutput {
public:
    /// Writes a whole frame, after those of other threads. False when nothing can be written any
    /// more: nobody reads, or writing failed.
    bool write(std::string_view text);

    /// Lets a write that waits for a reader give up soon, so that the streams can be stopped.
    void hurry() { output.hurry(); }

    /// Why writing failed; empty when it did not. A reader that has gone is no failure.
    std::string failure() const;

private:
    StandardOutput output;
    mutable std::mutex mutex;
    bool isOpen = true;
    std::string error;
};

} // namespace Morvalin::App

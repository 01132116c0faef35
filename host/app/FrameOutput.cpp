#include "app/FrameOutput.h"

namespace Morvalin::App {

bool FrameOutput::write(std::string_view text) {
    const std::lock_guard lock(mutex);
    if (isOpen)
        isOpen = output.write(text, error) == StandardOutput::Result::Written;
    return isOpen;
}

std::string FrameOutput::failure() const {
    const std::lock_guard lock(mutex);
    return error;
}

} // namespace Morvalin::App

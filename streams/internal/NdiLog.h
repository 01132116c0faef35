#pragma once

#include <morvalincore/LogText.h>

namespace Morvalin {

/// Under the category of the streams and their devices.
template <class... Pieces>
void logNdi(int level, const Pieces&... pieces) noexcept {
    logText(level, "NDI", pieces...);
}

} // namespace Morvalin

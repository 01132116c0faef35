#pragma once

#include <QString>

#include "session/StreamCondition.h"

namespace Morvalin::App {

/// What a stream is doing, in words for people, with the time that an operation has taken by now.
QString statusText(const StreamStatus& status, StreamStatus::Clock::time_point now);

} // namespace Morvalin::App

#pragma once

#include <atomic>

namespace protocol {

// How long the probe of a serial port waits for each answer before it breaks the line. Programs
// leave it; tests that need an answer give a busy machine longer.
extern std::atomic<int> probeAnswerMs;

} // namespace protocol

#include "protocol/platform/platform.h"
#include "protocol/platform/windows/system_headers.h"

#include <chrono>

namespace protocol::platform {
namespace {

constexpr int kPortCount = 20;

} // namespace

// Port names belong to the system here.
int assignPort(int index, const char*) {
    return index >= 0 && index < kPortCount ? 0 : -1;
}

// The system counts in ticks of its clock and may wake a sleeper one tick early.
void sleepMs(int ms) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + milliseconds(ms);
    for (auto left = milliseconds(ms); left.count() > 0;
         left = ceil<milliseconds>(end - steady_clock::now())) {
        Sleep(static_cast<DWORD>(left.count()));
    }
}

std::int64_t nowMs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// No signals reach a thread here.
SignalBlock::SignalBlock() = default;
SignalBlock::~SignalBlock() = default;

} // namespace protocol::platform

#pragma once

#include <chrono>

namespace protocol::platform {

// A point on the steady clock until which something is waited for.
class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds wait) :
        Deadline(std::chrono::steady_clock::now() + wait) {}
    explicit Deadline(std::chrono::steady_clock::time_point end) : m_end(end) {}

    // What is left, rounded up, so that a wait of this length never ends early; 0 when it passed.
    int leftMs() const {
        using namespace std::chrono;
        const auto left = ceil<milliseconds>(m_end - steady_clock::now()).count();
        return left > 0 ? static_cast<int>(left) : 0;
    }

private:
    std::chrono::steady_clock::time_point m_end;
};

// Waits until a descriptor is ready for the given poll events, or hung up.
//   result  true when it is; false when the deadline passed or poll failed (errno is 0 or its
//           number). Signals do not shorten or prolong the wait.
bool waitUntilReady(int descriptor, short events, const Deadline& deadline);

} // namespace protocol::platform

#include <atomic>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include <morvalinstream/TrackingStream.h>

#include "ScriptedStream.h"

using namespace Morvalin;

namespace {

thread_local int allocationCount = 0;

} // namespace

void* operator new(std::size_t size) {
    ++allocationCount;
    if (void* memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

/// Hands out the same object every millisecond and counts what its thread allocates from one call
/// of doWork() to the next.
class CountingStream : public ScriptedStream {
public:
    CountingStream() {
        work = [this, frame = std::shared_ptr<Data>(std::make_shared<TrackingStreamData>())] {
            constexpr int warmUp = 3, measured = 20;
            if (workCount == warmUp)
                countAtBegin = allocationCount;
            if (workCount == warmUp + measured)
                allocationsBetweenCalls = allocationCount - countAtBegin;
            output(frame);
            allocationsBetweenCalls.notify_all();
            return WorkContinuation{std::chrono::system_clock::now() + std::chrono::milliseconds(1),
                                    1};
        };
    }
    std::atomic<int> allocationsBetweenCalls{-1};

private:
    int countAtBegin = 0;
};

} // namespace

TEST(Allocations, NoneOnTheWayFromOneCallOfDoWorkToTheNext) {
    CountingStream stream;
    std::atomic<int> received{0};
    stream.output.connect([&](const std::shared_ptr<Data>& data) { received += data != nullptr; });
    ASSERT_TRUE(stream.open() && stream.start());
    stream.allocationsBetweenCalls.wait(-1);
    ASSERT_TRUE(stream.stop());
    EXPECT_EQ(stream.allocationsBetweenCalls, 0);
    EXPECT_EQ(received, stream.workCount);
}

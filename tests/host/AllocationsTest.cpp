#include <atomic>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include <morvalinstream/TrackingStream.h>

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
class CountingStream : public TrackingStream {
public:
    CountingStream() : TrackingStream("counting") {
        output.connect([this](const std::shared_ptr<Data>& data) { received += data != nullptr; });
    }
    ~CountingStream() override { close(); }
    std::string uuid() const override { return "Counting"; }

    std::atomic<int> callCount{0};
    std::atomic<int> allocationsBetweenCalls{-1};
    int received = 0;

protected:
    bool openImpl() override { return true; }
    bool closeImpl() override { return true; }
    bool startImpl() override { return true; }
    bool stopImpl() override { return true; }
    std::optional<WorkContinuation> doWork() override {
        constexpr int warmUp = 3, measured = 20;
        const auto now = std::chrono::system_clock::now();
        if (callCount == warmUp)
            countAtBegin = allocationCount;
        if (callCount == warmUp + measured)
            allocationsBetweenCalls = allocationCount - countAtBegin;
        output(frame);
        ++callCount;
        allocationsBetweenCalls.notify_all();
        return WorkContinuation{now + std::chrono::milliseconds(1), 1};
    }

private:
    const std::shared_ptr<Data> frame = std::make_shared<TrackingStreamData>();
    int countAtBegin = 0;
};

} // namespace

TEST(Allocations, NoneOnTheWayFromOneCallOfDoWorkToTheNext) {
    CountingStream stream;
    ASSERT_TRUE(stream.open() && stream.start());
    stream.allocationsBetweenCalls.wait(-1);
    ASSERT_TRUE(stream.stop());
    EXPECT_EQ(stream.allocationsBetweenCalls, 0);
    EXPECT_EQ(stream.received, stream.callCount);
}

#include "tests/host/ScriptedStream.h"
#include "tests/protocol/CountedMemory.h"
#include "tests/streams/Rig.h"

namespace Morvalin {
namespace {

using namespace std::chrono_literals;

/// What one step that hands out a frame allocates besides the frame's copies of the instruments.
std::size_t allocationsOfAStep(int tools) {
    Rig<Vega> rig;
    for (int i = 0; i < tools; ++i)
        rig.addTool("a name too long for the string itself " + std::to_string(i),
                    std::to_string(i));
    EXPECT_TRUE(rig.stream.open() && rig.stream.startImpl());
    int frames = 0;
    rig.stream.output.connect([&](const std::shared_ptr<const Data>&) { ++frames; });
    std::size_t count = 0;
    for (int i = 0; i < 3; ++i) {
        rig.nextFrame();
        const std::size_t before = allocations;
        rig.stream.doWork();
        count = allocations - before;
    }
    EXPECT_EQ(frames, 3);
    const std::size_t before = allocations;
    rig.instruments();
    return count - (allocations - before);
}

TEST(Streaming, MoreToolsTakeNoMoreAllocations) {
    EXPECT_EQ(allocationsOfAStep(12), allocationsOfAStep(1));
}

TEST(Streaming, MemoryThatRunsOutCostsAFrame) {
    Rig<Vega> rig;
    rig.addTool("a.rom", "1");
    ASSERT_TRUE(rig.stream.open() && rig.stream.startImpl());
    int frames = 0;
    rig.stream.output.connect([&](const std::shared_ptr<const Data>&) { ++frames; });
    int failures = 0;
    for (; frames == 0 && failures < 1000; ++failures) {
        rig.nextFrame();
        const Shortage shortage(failures);
        EXPECT_TRUE(rig.stream.doWork());
    }
    EXPECT_GT(failures, 5);
    rig.nextFrame();
    rig.stream.doWork();
    EXPECT_EQ(frames, 2);
}

TEST(StreamWorker, TakesNoMemoryFromOneCallOfDoWorkToTheNext) {
    ScriptedStream stream;
    const auto frame = std::make_shared<TrackingStreamData>();
    std::size_t before = 0;
    std::atomic<int> taken = -1;
    stream.output.connect([](const std::shared_ptr<const Data>&) {});
    stream.work = [&]() -> ScriptedStream::Work {
        if (stream.workCount == 4)
            before = allocations;
        if (stream.workCount == 24)
            taken = static_cast<int>(allocations - before);
        stream.output(frame);
        return Stream::WorkContinuation{std::chrono::system_clock::now() + 1ms, 1};
    };
    ASSERT_TRUE(stream.open() && stream.start());
    stream.awaitWork(25);
    ASSERT_TRUE(stream.stop());
    EXPECT_EQ(taken, 0);
}

} // namespace
} // namespace Morvalin

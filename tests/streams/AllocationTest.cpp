#include "tests/protocol/CountedMemory.h"
#include "tests/streams/Rig.h"

namespace Morvalin {
namespace {

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

} // namespace
} // namespace Morvalin

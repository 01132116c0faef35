#include "tests/protocol/CountedMemory.h"
#include "tests/streams/Rig.h"

namespace Morvalin {
namespace {

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

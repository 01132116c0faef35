#include "tests/streams/Rig.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t allocations = 0;
thread_local int allocationsLeft = -1; ///< negative: memory never runs out
} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    if (allocationsLeft == 0)
        return nullptr;
    allocationsLeft -= allocationsLeft > 0 ? 1 : 0;
    return std::malloc(size);
}
void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}
// Inlined without its counterpart, a compiler would see memory freed that was never allocated so.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace Morvalin {
namespace {

template <class Function>
std::size_t allocationsOf(const Function& function) {
    const std::size_t before = allocations;
    function();
    return allocations - before;
}

/// What one step that hands out a frame allocates besides the frame's copies of the instruments.
std::size_t allocationsOfAStep(int tools) {
    Rig<Vega> rig;
    for (int i = 0; i < tools; ++i)
        rig.addTool("a name too long for the string itself " + std::to_string(i),
                    std::to_string(i));
    EXPECT_TRUE(rig.stream.open() && rig.stream.startImpl());
    int frames = 0;
    rig.stream.output.connect([&](const std::shared_ptr<Data>&) { ++frames; });
    std::size_t count = 0;
    for (int i = 0; i < 3; ++i) {
        rig.nextFrame();
        count = allocationsOf([&] { rig.stream.doWork(); });
    }
    EXPECT_EQ(frames, 3);
    return count - allocationsOf([&] { rig.instruments(); });
}

TEST(Streaming, MoreToolsTakeNoMoreAllocations) {
    EXPECT_EQ(allocationsOfAStep(12), allocationsOfAStep(1));
}

TEST(Streaming, MemoryThatRunsOutCostsAFrame) {
    Rig<Vega> rig;
    rig.addTool("a.rom", "1");
    ASSERT_TRUE(rig.stream.open() && rig.stream.startImpl());
    int frames = 0;
    rig.stream.output.connect([&](const std::shared_ptr<Data>&) { ++frames; });
    int failures = 0;
    for (; frames == 0 && failures < 1000; ++failures) {
        rig.nextFrame();
        allocationsLeft = failures;
        EXPECT_TRUE(rig.stream.doWork());
        allocationsLeft = -1;
    }
    EXPECT_GT(failures, 5);
    rig.nextFrame();
    rig.stream.doWork();
    EXPECT_EQ(frames, 2);
}

} // namespace
} // namespace Morvalin

#include "tests/streams/Rig.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t allocations = 0;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(size);
}
void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
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

} // namespace
} // namespace Morvalin

#include "bench/Paired.h"
#include "bench/Rig.h"

#include <cstdlib>
#include <new>
#include <string>

namespace {
thread_local std::size_t allocations = 0;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(size);
}
void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace bench {
namespace {

constexpr int frames = 64;

/// Of one frame: all, those of the copies of the instruments in it, and the rest.
void run(benchmark::State& state, const Scene& scene) {
    NetworkRig rig(scene);
    rig.stream.doWork(); // the registry keeps some memory from the first one on
    std::size_t before = allocations;
    for (auto _ : state) {
        for (int i = 0; i < frames; ++i) {
            rig.stream.doWork();
        }
    }
    const double all = static_cast<double>(allocations - before) / frames;
    before = allocations;
    benchmark::DoNotOptimize(rig.stream.instruments()->instruments());
    const auto copies = static_cast<double>(allocations - before);
    state.counters["allocations"] = all;
    state.counters["copies"] = copies;
    state.counters["besides"] = all - copies;
}

} // namespace

void registerAllocations(const Effort&) {
    for (const Scene scene : {Scene{1, 0}, Scene{4, 10}, Scene{19, 0}, Scene{1, 127}}) {
        const std::string name =
            "allocations/" + std::to_string(scene.tools) + "/" + std::to_string(scene.strays);
        benchmark::RegisterBenchmark(name.c_str(), [scene](benchmark::State& state) {
            run(state, scene);
        })->Iterations(1);
    }
}

} // namespace bench

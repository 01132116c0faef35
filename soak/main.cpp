// Streams of all families at full rate under random faults, for as long as wanted: no frame lost
// that no fault explains, no pose wrong, memory and descriptors flat.
#include "soak/SoakStream.h"
#include "tests/faults/Process.h"

#include <morvalincore/Log.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <thread>
#include <vector>

#include <stdlib.h>
#include <unistd.h>

namespace {

using namespace Morvalin;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// What the allocator keeps for later differs from moment to moment.
constexpr long memoryTolerance = 8L << 20;

long residentMemory() {
    long size = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

/// The most memory of each half of the time after the first quarter, in which everything has been
/// met once.
struct MemoryUse {
    long early = 0;
    long late = 0;
};

MemoryUse watchMemory(std::chrono::seconds duration) {
    MemoryUse use;
    const auto begin = Clock::now();
    while (Clock::now() - begin < duration) {
        std::this_thread::sleep_for(100ms);
        const auto elapsed = Clock::now() - begin;
        if (elapsed > duration / 4) {
            long& most = elapsed < duration * 5 / 8 ? use.early : use.late;
            most = std::max(most, residentMemory());
        }
    }
    return use;
}

bool report(const MemoryUse& memory, const Resources& before, const Resources& after) {
    const bool isFlat = memory.late - memory.early <= memoryTolerance && after == before;
    std::cout << (isFlat ? "OK   " : "BAD  ") << "memory " << (memory.early >> 10) << " -> "
              << (memory.late >> 10) << " KiB (at most " << (memoryTolerance >> 10)
              << " more), descriptors " << before.descriptors << " -> " << after.descriptors
              << ", threads " << before.threads << " -> " << after.threads << std::endl;
    return isFlat;
}

bool soak(std::chrono::seconds duration, std::uint64_t seed, const std::filesystem::path& folder) {
    using Kind = SoakStream::Kind;
    std::vector<std::unique_ptr<SoakStream>> streams;
    int index = 0;
    for (const auto& [kind, name] : {std::pair{Kind::Vega, "vega-1"},
                                     {Kind::Vega, "vega-2"},
                                     {Kind::Vicra, "vicra"},
                                     {Kind::Aurora, "aurora"}}) {
        streams.push_back(SoakStream::make(
            {kind, name, seed + static_cast<std::uint64_t>(index), folder, index}));
        ++index;
    }
    for (const auto& stream : streams)
        stream->warmUp();
    std::this_thread::sleep_for(100ms); // until the simulators know that their clients have left
    const Resources before;

    std::atomic<bool> mayEnd = false;
    std::vector<std::thread> threads;
    for (const auto& stream : streams)
        threads.emplace_back([&mayEnd, soaked = stream.get()] {
            soaked->run(mayEnd);
            soaked->warmUp(); // well again
        });
    const MemoryUse memory = watchMemory(duration);
    mayEnd = true;
    for (std::thread& thread : threads)
        thread.join();
    std::this_thread::sleep_for(100ms);

    bool isGood = report(memory, before, Resources());
    for (const auto& stream : streams)
        isGood = stream->report() && isGood;
    return isGood;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::cerr << "usage: ndi-soak SECONDS [SEED]\n";
        return 2;
    }
    const std::chrono::seconds duration(std::max(10L, std::strtol(argv[1], nullptr, 10)));
    const std::uint64_t seed =
        argc > 2 ? std::strtoull(argv[2], nullptr, 10)
                 : static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
    std::cout << duration.count() << " s with seed " << seed << std::endl;
    Log::setSink([](int, const std::string&, const std::string&) {});
    std::string folder = (std::filesystem::temp_directory_path() / "soakXXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) {
        std::cerr << "no temporary folder\n";
        return 1;
    }
    const bool isGood = soak(duration, seed, folder);
    std::filesystem::remove_all(folder);
    return isGood ? 0 : 1;
}

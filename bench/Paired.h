#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// How long everything runs: to measure, or only so that it cannot rot.
struct Effort {
    int pairs = 4000;
    double pacingSeconds = 20;
    int bringUps = 5;
};

/// While it lives, the calling thread and those it makes stay on one core.
class OneCore {
public:
    OneCore();
    ~OneCore();
    OneCore(const OneCore&) = delete;
    OneCore& operator=(const OneCore&) = delete;

private:
    std::vector<char> m_before;
};

/// Enters a quantity as three counters: NAME (the median), NAME_q1 and NAME_q3.
void report(benchmark::State& state, const std::string& name, std::vector<double> values);

/// The value below which the given share of the values lies; sorts them.
double quantile(std::vector<double>& values, double share);

/// Runs the two blocks in turn, for every iteration once each, and enters "base_ns" and "ours_ns"
/// (one operation), "ratio" and "added_ns" of each pair, and "cpu_ratio", of the processor time
/// that all threads took: another program on the core does not count in it. `operations` are those
/// of one block. With a third block, of as many operations that serve as a unit, "added_units" is
/// what "added_ns" is in those of the same iteration.
void compare(benchmark::State& state, int operations, const std::function<void()>& base,
             const std::function<void()>& ours, const std::function<void()>& unit = {});

/// Registers a benchmark that calls compare().
void addPaired(const Effort& effort, const std::string& name,
               const std::function<void(benchmark::State&)>& function);

/// The exchanges of a block: it is over before the scheduler's next tick, mostly.
inline constexpr int exchanges = 20;

/// The benchmarks of each subject.
void registerExchange(const Effort& effort);
void registerOtherLibrary(const Effort& effort);
void registerComputation(const Effort& effort);
void registerAllocations(const Effort& effort);
void registerPacing(const Effort& effort);
void registerBringUp(const Effort& effort);

} // namespace bench

#include "bench/Paired.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <utility>

#include <sched.h>

namespace bench {
namespace {

struct Cost {
    double wall;
    double processor;
};

double nanoseconds(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

/// Of one operation, in ns.
Cost costOf(const std::function<void()>& block, int operations) {
    const double processor = nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
    const double wall = nanoseconds(CLOCK_MONOTONIC);
    block();
    const double wallEnd = nanoseconds(CLOCK_MONOTONIC);
    return {(wallEnd - wall) / operations,
            (nanoseconds(CLOCK_PROCESS_CPUTIME_ID) - processor) / operations};
}

} // namespace

OneCore::OneCore() : m_before(sizeof(cpu_set_t)) {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof(allowed), &allowed);
    std::copy_n(reinterpret_cast<const char*>(&allowed), sizeof(allowed), m_before.data());
    int last = CPU_SETSIZE - 1;
    while (last > 0 && !CPU_ISSET(last, &allowed)) {
        --last;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(last, &one);
    sched_setaffinity(0, sizeof(one), &one);
}

OneCore::~OneCore() {
    cpu_set_t allowed;
    std::copy_n(m_before.data(), sizeof(allowed), reinterpret_cast<char*>(&allowed));
    sched_setaffinity(0, sizeof(allowed), &allowed);
}

double quantile(std::vector<double>& values, double share) {
    if (values.empty()) {
        return std::nan("");
    }
    const auto last = static_cast<double>(values.size() - 1);
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(std::lround(share * last));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

void report(benchmark::State& state, const std::string& name, std::vector<double> values) {
    state.counters[name] = quantile(values, 0.5);
    state.counters[name + "_q1"] = quantile(values, 0.25);
    state.counters[name + "_q3"] = quantile(values, 0.75);
}

void compare(benchmark::State& state, int operations, const std::function<void()>& base,
             const std::function<void()>& ours, const std::function<void()>& unit) {
    base(); // warms up
    ours();
    std::vector<double> baseTimes;
    std::vector<double> ourTimes;
    std::vector<double> ratios;
    std::vector<double> processorRatios;
    std::vector<double> added;
    std::vector<double> unitTimes;
    std::vector<double> addedUnits;
    for (auto _ : state) {
        // Who goes first alternates, so that a drift favours nobody.
        const bool oursFirst = ratios.size() % 2 == 1;
        Cost our = oursFirst ? costOf(ours, operations) : Cost{};
        const Cost bare = costOf(base, operations);
        our = oursFirst ? our : costOf(ours, operations);
        state.SetIterationTime(our.wall * operations * 1e-9);
        baseTimes.push_back(bare.wall);
        ourTimes.push_back(our.wall);
        ratios.push_back(our.wall / bare.wall);
        processorRatios.push_back(our.processor / bare.processor);
        added.push_back(our.wall - bare.wall);
        if (unit) {
            unitTimes.push_back(costOf(unit, operations).wall);
            addedUnits.push_back(added.back() / unitTimes.back());
        }
    }
    report(state, "base_ns", std::move(baseTimes));
    report(state, "ours_ns", std::move(ourTimes));
    report(state, "ratio", std::move(ratios));
    report(state, "cpu_ratio", std::move(processorRatios));
    report(state, "added_ns", std::move(added));
    if (unit) {
        report(state, "unit_ns", std::move(unitTimes));
        report(state, "added_units", std::move(addedUnits));
    }
}

void addPaired(const Effort& effort, const std::string& name,
               const std::function<void(benchmark::State&)>& function) {
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->Iterations(effort.pairs)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

} // namespace bench

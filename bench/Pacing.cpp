#include "bench/Paired.h"
#include "bench/Rig.h"
#include "simulator/Simulator.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <numbers>
#include <string>
#include <thread>

#include <morvalinstream/TrackingStreamData.h>

// Streams on their own threads against whole simulated devices, on all cores.
namespace bench {
namespace {

using Base = Morvalin::PolarisAuroraTrackingStream<Morvalin::NDIDeviceFamily::PolarisVega>;
using Clock = std::chrono::steady_clock;

double threadTime() {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The simulator's tools stand where the frame number puts them: the first one tells it, modulo
/// 1000.
int frameOf(const Morvalin::TrackingStreamData& frame) {
    const Morvalin::Matrix4& pose = frame.instruments.front().matrix;
    const double turn = std::atan2(pose(1, 3), pose(0, 3)) / (2 * std::numbers::pi);
    return (static_cast<int>(std::lround(1000 * turn)) - 37 + 2000) % 1000;
}

class WatchedStream : public Base {
public:
    WatchedStream() {
        times.reserve(100000);
        numbers.reserve(100000);
        output.connect([this](const std::shared_ptr<const Morvalin::Data>& data) {
            numbers.push_back(frameOf(static_cast<const Morvalin::TrackingStreamData&>(*data)));
        });
    }
    ~WatchedStream() override { closeForGood(); } // while doWork() is still this one

    std::optional<WorkContinuation> doWork() override {
        times.push_back(Clock::now());
        const double begin = threadTime();
        firstTime = times.size() == 1 ? begin : firstTime;
        auto next = Base::doWork();
        lastTime = threadTime();
        return next;
    }

    double shareOfCore() const {
        const std::chrono::duration<double> length = times.back() - times.front();
        return (lastTime - firstTime) / length.count();
    }

    std::vector<Clock::time_point> times; ///< of the polls
    std::vector<int> numbers;             ///< of the frames handed out, modulo 1000
    double firstTime = 0;                 ///< processor time of the worker, s
    double lastTime = 0;
};

/// A device of its own and a stream that is open.
struct Station {
    Station(const Scene& scene, double rateHz) :
        tools(scene.tools), simulator(options(scene, rateHz)) {
        simulator.start();
        tools.registerAll(stream);
        pointAt(static_cast<Base&>(stream), simulator.port(), {});
        stream.open();
    }

    static ndisim::SimulatorOptions options(const Scene& scene, double rateHz) {
        ndisim::SimulatorOptions options;
        options.device.strays = static_cast<unsigned>(scene.strays);
        options.device.rateHz = rateHz;
        options.logLimit = 100;
        return options;
    }

    ToolFolder tools;
    ndisim::Simulator simulator;
    WatchedStream stream;
};

using Stations = std::vector<std::unique_ptr<Station>>;

Stations runFor(double seconds, int streams, double rateHz) {
    Stations stations;
    for (int i = 0; i < streams; ++i) {
        stations.push_back(std::make_unique<Station>(Scene{}, rateHz));
    }
    for (const auto& station : stations) {
        station->stream.start();
    }
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    for (const auto& station : stations) {
        station->stream.stop();
    }
    return stations;
}

void runIntervals(benchmark::State& state, double seconds, int streams) {
    std::vector<double> intervals; // ms
    double share = 0;
    for (auto _ : state) {
        for (const auto& station : runFor(seconds, streams, 60)) {
            const auto& times = station->stream.times;
            for (std::size_t i = 1; i < times.size(); ++i) {
                intervals.push_back(
                    std::chrono::duration<double, std::milli>(times[i] - times[i - 1]).count());
            }
            share += station->stream.shareOfCore();
        }
    }
    state.counters["streams"] = streams;
    state.counters["polls"] = static_cast<double>(intervals.size());
    state.counters["p50_ms"] = quantile(intervals, 0.5);
    state.counters["p99_ms"] = quantile(intervals, 0.99);
    state.counters["p999_ms"] = quantile(intervals, 0.999);
    state.counters["core_percent"] = 100 * share / streams;
}

void runFrames(benchmark::State& state, double seconds, double rateHz) {
    int measured = 0;
    int doubled = 0;
    int delivered = 0;
    for (auto _ : state) {
        const Stations stations = runFor(seconds, 1, rateHz);
        const std::vector<int>& numbers = stations.front()->stream.numbers;
        for (std::size_t i = 1; i < numbers.size(); ++i) {
            const int step = (numbers[i] - numbers[i - 1] + 1000) % 1000;
            measured += step;
            doubled += step == 0 ? 1 : 0;
            ++delivered;
        }
    }
    state.counters["rate_hz"] = rateHz;
    state.counters["measured"] = measured;
    state.counters["delivered"] = delivered;
    state.counters["missed"] = measured - (delivered - doubled);
    state.counters["doubled"] = doubled;
}

} // namespace

void registerPacing(const Effort& effort) {
    const double seconds = effort.pacingSeconds;
    for (const int streams : {1, 4, 8}) {
        benchmark::RegisterBenchmark(
            ("pacing/streams/" + std::to_string(streams)).c_str(),
            [=](benchmark::State& state) { runIntervals(state, seconds, streams); })
            ->Iterations(1);
    }
    for (const int rateHz : {20, 40, 60, 250}) {
        benchmark::RegisterBenchmark(
            ("pacing/frames/" + std::to_string(rateHz)).c_str(),
            [=](benchmark::State& state) { runFrames(state, seconds, rateHz); })
            ->Iterations(1);
    }
}

} // namespace bench

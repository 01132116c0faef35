#include "bench/Paired.h"
#include "bench/Rig.h"
#include "simulator/Simulator.h"

#include <chrono>
#include <future>
#include <string>
#include <utility>

// From open to the first frame, against what the bytes need on the line and the pauses that the
// device asks for.
namespace bench {
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr double bitsPerByte = 10;
constexpr double firstBaud = 9600;
constexpr double laterBaud = 115200; // of the stream's default measurement rate

/// After every INIT, and after COMM. The probe of a serial port waits before it reads its answer to
/// INIT, and before it goes on.
double pausesMs(bool isSerial) {
    return isSerial ? 400 : 100;
}

/// The commands and replies of a paced line, but for the first: those go while the probe waits.
/// COMM and its answer still go at the first speed.
double wireMs(const std::vector<ndisim::Exchange>& exchanges) {
    double baud = firstBaud;
    double ms = 0;
    for (std::size_t i = 1; i < exchanges.size(); ++i) {
        const std::size_t bytes = exchanges[i].received.size() + 1 + exchanges[i].sent.size();
        ms += 1000 * bitsPerByte * static_cast<double>(bytes) / baud;
        baud = exchanges[i].command.starts_with("COMM:5") ? laterBaud : baud;
    }
    return ms;
}

template <int N>
void run(benchmark::State& state, int tools) {
    constexpr bool isSerial = StreamRig<N>::isSerial;
    const ToolFolder folder(tools);
    std::vector<double> totals;
    std::vector<double> wires;
    std::vector<double> rests;
    double commands = 0;
    for (auto _ : state) {
        ndisim::SimulatorOptions options;
        options.device.family = StreamRig<N>::family;
        options.device.rateHz = 60;
        options.isPaced = isSerial;
        if (isSerial) {
            options.address = ndisim::PtyAddress{folder.path() / "line"};
        }
        ndisim::Simulator simulator(options);
        simulator.start();
        Morvalin::PolarisAuroraTrackingStream<N> stream;
        folder.registerAll(stream);
        pointAt(stream, simulator.port(), simulator.address());
        std::promise<std::chrono::steady_clock::time_point> first;
        bool isFirst = true;
        stream.output.connect([&](const std::shared_ptr<const Morvalin::Data>&) {
            if (std::exchange(isFirst, false)) {
                first.set_value(std::chrono::steady_clock::now());
            }
        });
        const auto begin = std::chrono::steady_clock::now();
        if (!stream.open() || !stream.start()) {
            state.SkipWithError("the stream does not start");
            break;
        }
        const Milliseconds total = first.get_future().get() - begin;
        stream.stop();
        totals.push_back(total.count());
        const auto exchanges = simulator.exchanges();
        commands = static_cast<double>(exchanges.size());
        wires.push_back(isSerial ? wireMs(exchanges) : 0);
        rests.push_back(totals.back() - wires.back() - pausesMs(isSerial));
        state.SetIterationTime(total.count() / 1000);
    }
    state.counters["commands"] = commands;
    state.counters["pauses_ms"] = pausesMs(isSerial);
    report(state, "total_ms", totals);
    report(state, "wire_ms", wires);
    report(state, "rest_ms", rests);
}

} // namespace

void registerBringUp(const Effort& effort) {
    const auto add = [&](const std::string& name, int tools, auto function) {
        benchmark::RegisterBenchmark((name + std::to_string(tools)).c_str(),
                                     [=](benchmark::State& state) { function(state, tools); })
            ->Iterations(effort.bringUps)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    };
    for (const int tools : {1, 10}) {
        add("bringup/tcp/", tools, run<Morvalin::NDIDeviceFamily::PolarisVega>);
        add("bringup/pty/", tools, run<Morvalin::NDIDeviceFamily::PolarisVicra>);
    }
}

} // namespace bench

#include "bench/Paired.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <string_view>

#include <morvalincore/Log.h>

// ndi-bench [--short] [options of the benchmark library]
int main(int argc, char** argv) try {
    bench::Effort effort;
    char** const end = std::remove(argv + 1, argv + argc, std::string_view("--short"));
    if (end != argv + argc) {
        effort = {3, 0.2, 1};
    }
    argc = static_cast<int>(end - argv);
    Morvalin::Log::setLevel(Morvalin::Log::Error);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    bench::registerExchange(effort);
#ifdef BENCH_HAS_MODBUS
    bench::registerOtherLibrary(effort);
#endif
    bench::registerComputation(effort);
    bench::registerAllocations(effort);
    bench::registerPacing(effort);
    bench::registerBringUp(effort);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
} catch (const std::exception& error) {
    std::cerr << "ndi-bench: " << error.what() << '\n';
    return 1;
}

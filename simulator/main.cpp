#include "simulator/CommandLine.h"
#include "simulator/EndSignals.h"
#include "simulator/Simulator.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <iostream>
#include <string>

namespace {

constexpr int traceFailed = 1;
constexpr int wrongUsage = 2;
constexpr int cannotStart = 3;

int fail(const std::string& text, int status) {
    std::cerr << "ndi-simulator: " << text << std::endl;
    return status;
}

// The signals are caught before the line is opened, so that its link never stays behind.
int serve(const ndisim::SimulatorOptions& options) {
    boost::asio::io_context context;
    boost::asio::signal_set signals(context);
    for (const int signal : ndisim::endSignals()) {
        signals.add(signal);
    }
    signals.async_wait([](auto, int) {});
    ndisim::Simulator simulator(options);
    simulator.start();
    std::cout << "ready " << simulator.address() << std::endl;
    context.run();
    const auto frame = simulator.frameNumber();
    simulator.stop();
    std::cout << "done " << simulator.commandCount() << " commands, " << simulator.faultCount()
              << " faults, frame " << frame << std::endl;
    if (simulator.isTraceComplete()) {
        return 0;
    }
    return fail("the trace " + options.trace.string() + " is not complete: writing failed",
                traceFailed);
}

} // namespace

int main(int argc, char** argv) {
    try {
        const auto request = ndisim::readCommandLine(argc, argv);
        if (const auto* text = std::get_if<std::string>(&request)) {
            std::cout << *text;
            return 0;
        }
        return serve(std::get<ndisim::SimulatorOptions>(request));
    } catch (const ndisim::UsageError& error) {
        return fail(error.what(), wrongUsage);
    } catch (const std::exception& error) {
        return fail(error.what(), cannotStart);
    }
}

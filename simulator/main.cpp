#include "simulator/CommandLine.h"
#include "simulator/Simulator.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <csignal>
#include <iostream>

namespace {

constexpr int wrongUsage = 2;
constexpr int cannotStart = 3;

int fail(const std::exception& error, int status) {
    std::cerr << "ndi-simulator: " << error.what() << std::endl;
    return status;
}

// The signals are caught before the line is opened, so that its link never stays behind.
void serve(const ndisim::SimulatorOptions& options) {
    boost::asio::io_context context;
    boost::asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([](auto, int) {});
    ndisim::Simulator simulator(options);
    simulator.start();
    std::cout << "ready " << simulator.address() << std::endl;
    context.run();
    const auto frame = simulator.frameNumber();
    simulator.stop();
    std::cout << "done " << simulator.commandCount() << " commands, " << simulator.faultCount()
              << " faults, frame " << frame << std::endl;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const auto request = ndisim::readCommandLine(argc, argv);
        if (const auto* text = std::get_if<std::string>(&request)) {
            std::cout << *text;
            return 0;
        }
        serve(std::get<ndisim::SimulatorOptions>(request));
        return 0;
    } catch (const ndisim::UsageError& error) {
        return fail(error, wrongUsage);
    } catch (const std::exception& error) {
        return fail(error, cannotStart);
    }
}

#pragma once

#include "simulator/Simulator.h"

#include <gtest/gtest.h>
#include <unistd.h>

// A device at a pseudo-terminal of the test's own.
inline ndisim::SimulatorOptions atTerminal() {
    ndisim::SimulatorOptions options;
    const std::string link = testing::TempDir() + "protocol_port_" + std::to_string(getpid());
    options.address = ndisim::PtyAddress{link};
    return options;
}

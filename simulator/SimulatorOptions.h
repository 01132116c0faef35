#pragma once

#include "simulator/DeviceOptions.h"
#include "simulator/Faults.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <variant>
#include <vector>

namespace ndisim {

/// A TCP server on 127.0.0.1. Port 0 takes a free one.
struct TcpAddress {
    std::uint16_t port = 0;
};

/// A pseudo-terminal; `link` becomes a symbolic link to the end that the host opens.
struct PtyAddress {
    std::filesystem::path link;
};

struct SimulatorOptions {
    DeviceOptions device;
    std::variant<TcpAddress, PtyAddress> address = TcpAddress{};

    std::vector<FaultRule> faults;
    std::uint64_t seed = 1;
    double faultRate = 0;              ///< probability that a command goes wrong at random
    std::vector<FaultKind> faultKinds; ///< in one of these ways; empty: FaultPlan::mildKinds()

    unsigned chunk = 0; ///< answers go out in pieces of so many bytes, 0: whole
    std::chrono::milliseconds chunkGap{1};
    bool isPaced = false; ///< a pseudo-terminal takes as long as a real line of that speed

    std::filesystem::path trace;  ///< file to record the traffic in; empty: none
    std::size_t logLimit = 20000; ///< exchanges kept in memory, the oldest go first
    Clock clock = steadyClock();  ///< moves the device's frames, nothing else
};

/// The simulator could not begin: the port is taken, the link or trace cannot be made. The text is
/// one line that names the port or file.
class StartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace ndisim

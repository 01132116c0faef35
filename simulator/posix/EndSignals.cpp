#include "simulator/EndSignals.h"

#include <csignal>

namespace ndisim {

// A program that was told to outlive its terminal, as by nohup, does.
std::vector<int> endSignals() {
    struct sigaction hangUp = {};
    const bool isIgnored = sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler == SIG_IGN;
    return isIgnored ? std::vector{SIGINT, SIGTERM} : std::vector{SIGINT, SIGTERM, SIGHUP};
}

} // namespace ndisim

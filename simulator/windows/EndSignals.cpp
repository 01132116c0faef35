#include "simulator/EndSignals.h"

#include <csignal>

namespace ndisim {

std::vector<int> endSignals() {
    return {SIGINT, SIGTERM};
}

} // namespace ndisim

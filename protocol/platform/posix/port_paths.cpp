#include "protocol/platform/posix/port_paths.h"

#include "protocol/platform/platform.h"
#include "protocol/port_names.h"

#include <array>
#include <cstring>
#include <mutex>
#include <new>

namespace protocol::platform {
namespace {

constexpr int kPortCount = 20;
constexpr int kAdapterCount = 10; // the first names stand for USB adapters, the others for UARTs

std::array<std::string, kPortCount> assignedPaths;
std::mutex assignedMutex;

std::string pathAt(int index) {
    const std::lock_guard lock(assignedMutex);
    const std::string& assigned = assignedPaths[static_cast<std::size_t>(index)];
    if (!assigned.empty()) {
        return assigned;
    }
    return index < kAdapterCount ? "/dev/ttyUSB" + std::to_string(index)
                                 : "/dev/ttyS" + std::to_string(index - kAdapterCount);
}

} // namespace

std::string portPath(const char* name) {
    if (name[0] == '/') {
        return name;
    }
    for (int index = 0; index < kPortCount; ++index) {
        if (std::strcmp(name, formatPortName(index).text) == 0) {
            return pathAt(index);
        }
    }
    return {};
}

int assignPort(int index, const char* path) {
    if (index < 0 || index >= kPortCount) {
        return -1;
    }
    try {
        const std::lock_guard lock(assignedMutex);
        assignedPaths[static_cast<std::size_t>(index)] = path == nullptr ? "" : path;
    } catch (const std::bad_alloc&) {
        return -1;
    }
    return 0;
}

} // namespace protocol::platform

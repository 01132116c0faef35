#include "protocol/platform/posix/port_timeouts.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <new>

namespace protocol::platform {
namespace {

constexpr PortTimeouts kDefaults = {5000, 2};

std::mutex tableMutex;

using Table = std::map<std::intptr_t, PortTimeouts>;

// Never destroyed: a program's last objects may close their ports after everything else is gone.
// Takes no memory that may be short: reading the table must not throw.
Table& table() {
    alignas(Table) static std::byte place[sizeof(Table)];
    static Table& entries = *new (place) Table;
    return entries;
}

} // namespace

PortTimeouts timeoutsOf(std::intptr_t port) {
    const std::lock_guard lock(tableMutex);
    const auto found = table().find(port);
    return found == table().end() ? kDefaults : found->second;
}

bool storeTimeouts(std::intptr_t port, const PortTimeouts& timeouts) {
    try {
        const std::lock_guard lock(tableMutex);
        table()[port] = timeouts;
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void forgetTimeouts(std::intptr_t port) {
    const std::lock_guard lock(tableMutex);
    table().erase(port);
}

} // namespace protocol::platform

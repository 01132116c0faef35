#include "protocol/saved_settings.h"

#include "protocol/record.h"

#include <algorithm>
#include <mutex>
#include <optional>

namespace protocol {
namespace {

struct Slot {
    std::intptr_t port = kNoHandle;
    platform::PortState state;
};

Slot slots[4];
std::mutex slotsMutex;

std::optional<platform::PortState> takeFromSlot(std::intptr_t port) {
    const std::lock_guard lock(slotsMutex);
    for (Slot& slot : slots) {
        if (slot.port == port) {
            slot.port = kNoHandle;
            return slot.state;
        }
    }
    return std::nullopt;
}

} // namespace

void saveSettings(std::intptr_t port, const platform::PortState& state) {
    const std::lock_guard lock(slotsMutex);
    const auto slot = std::find_if(std::begin(slots), std::end(slots), [port](const Slot& each) {
        return each.port == kNoHandle || each.port == port;
    });
    if (slot != std::end(slots)) {
        *slot = {port, state};
    }
}

void restoreSettings(std::intptr_t port) {
    if (const auto state = takeFromSlot(port)) {
        platform::restoreState(port, *state);
    }
}

void forgetSettings(std::intptr_t port) {
    takeFromSlot(port);
}

} // namespace protocol

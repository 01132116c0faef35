#pragma once

#include "protocol/platform/platform.h"

namespace protocol {

// The settings that open ports had before. There are four slots for the whole process: a fifth port
// works, but its settings are not put back. Safe to call from any thread.
void saveSettings(std::intptr_t port, const platform::PortState& state);

// Puts the settings of a port back, if they were saved, and frees its slot.
void restoreSettings(std::intptr_t port);

// Frees the slot of a port, if it has one.
void forgetSettings(std::intptr_t port);

} // namespace protocol

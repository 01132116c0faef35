#pragma once

#include <string>

namespace protocol::platform {

// The device path that a port name stands for, or the name itself when it is a path; empty for
// anything else.
std::string portPath(const char* name);

} // namespace protocol::platform

#pragma once

#include <string>
#include <sys/stat.h>

namespace protocol::platform {

// The programs that have the port of this device node open, "NAME (process N)" with commas between
// them, as far as this user may see them. Of a pseudo-terminal, programs that hold an other end of
// one are left out unless they are the only ones: a terminal keeps the user's end open as well.
std::string portHolders(const struct stat& node);

bool isPseudoTerminal(const struct stat& node);

} // namespace protocol::platform

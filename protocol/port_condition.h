#pragma once

#include <string>

namespace protocol {

enum class PortCondition {
    free,
    missing,   // nothing is there by that name, or a name without hardware behind it
    forbidden, // this user may not open it
    inUse,     // somebody else has it
    notSerial, // something else is there
    faulty,    // the system refuses it in another way
};

struct PortReport {
    PortCondition condition = PortCondition::missing;
    std::string path;   // what the name stands for on this system
    std::string detail; // forbidden: the group that may; inUse: by whom; faulty: the system's
                        // words. Empty when the system does not tell.
};

namespace platform {

// Looks at a port as openPort would find it, without sending anything and without changing its
// settings. A port that nobody has is opened for a moment, which raises DTR on most systems.
// Throws std::bad_alloc. Takes the names of openPort; one that is none is missing, its path empty.
PortReport inspectPort(const char* name);

} // namespace platform
} // namespace protocol

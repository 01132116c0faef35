#include "simulator/Commands.h"
#include "simulator/Texts.h"

namespace ndisim {

namespace {

void requireOccupied(const PortHandle& handle) {
    if (handle.isGone) {
        throw CommandError{deviceError::becameUnoccupied};
    }
    if (!handle.isOccupied()) {
        throw CommandError{deviceError::noTool};
    }
}

void requireInitialised(const PortHandle& handle) {
    requireOccupied(handle);
    if (!handle.isInitialised) {
        throw CommandError{deviceError::notInitialised};
    }
}

Outcome handleReply(const PortHandle& handle) {
    return textReply(hexText(static_cast<std::uint32_t>(handle.number), 2));
}

// The port a request names, 0 for "any".
int requestedPort(Arguments port) {
    if (port == "**") {
        return 0;
    }
    const auto number = parseDecimal(port);
    if (!number || *number == 0) {
        throw CommandError{deviceError::invalidPort};
    }
    return static_cast<int>(*number);
}

Outcome requestWired(DeviceCore& core, int port) {
    bool isAnyPlugged = false;
    for (const auto& tool : core.options.tools) {
        if (port != 0 && tool.port != port) {
            continue;
        }
        isAnyPlugged = true;
        if (core.findWired(tool.port) == nullptr) {
            return handleReply(core.assignWired(tool));
        }
    }
    throw CommandError{isAnyPlugged ? deviceError::portAssigned : deviceError::invalidPort};
}

Outcome requestWireless(DeviceCore& core) {
    if (core.isWiredFamily()) {
        throw CommandError{deviceError::invalidPort};
    }
    const PortHandle* handle = core.assignWireless();
    if (handle == nullptr) {
        throw CommandError{deviceError::noHandleLeft};
    }
    return handleReply(*handle);
}

// Eight characters for the device, one for the system type, one for the tool type (1: without a
// cable), two for the port, two reserved; '*' stands for any.
Outcome requestHandle(DeviceCore& core, Arguments arguments) {
    requireLength(arguments, 14);
    const char toolType = arguments[9];
    const int port = requestedPort(arguments.substr(10, 2));
    if (toolType == '1' || (toolType == '*' && !core.isWiredFamily())) {
        return requestWireless(core);
    }
    if (toolType != '0' && toolType != '*') {
        throw CommandError{deviceError::invalidPort};
    }
    return requestWired(core, port);
}

Outcome freeHandle(DeviceCore& core, Arguments arguments) {
    const auto& handle = handleOf(core, arguments);
    requireLength(arguments, 2);
    core.handles.erase(handle.number);
    return okay();
}

Outcome writeImage(DeviceCore& core, Arguments arguments) {
    auto& handle = handleOf(core, arguments);
    requireLength(arguments, 2 + 4 + 2 * ToolImage::blockSize);
    const auto offset = parseHex(arguments.substr(2, 4));
    const auto content = parseHexBytes(arguments.substr(6));
    const bool fits = offset && *offset % ToolImage::blockSize == 0 &&
                      *offset / ToolImage::blockSize < ToolImage::blockCount;
    if (!fits || !content) {
        throw CommandError{deviceError::outOfRange};
    }
    if (handle.isGone) {
        throw CommandError{deviceError::becameUnoccupied};
    }
    handle.image.store(*offset / ToolImage::blockSize, *content);
    handle.isInitialised = false;
    handle.isEnabled = false;
    return okay();
}

Outcome initialiseHandle(DeviceCore& core, Arguments arguments) {
    auto& handle = handleOf(core, arguments);
    requireLength(arguments, 2);
    requireOccupied(handle);
    // A definition of zeros has no markers to track, nor a coil.
    if (handle.image.isWhole() && handle.image.isBlank()) {
        throw CommandError{deviceError::cannotInitialise};
    }
    handle.isInitialised = true;
    return okay();
}

// The third character is the tracking priority: static, dynamic or button box.
Outcome enableHandle(DeviceCore& core, Arguments arguments) {
    auto& handle = handleOf(core, arguments);
    requireLength(arguments, 3);
    if (std::string_view("SDB").find(arguments[2]) == std::string_view::npos) {
        throw CommandError{deviceError::invalidPriority};
    }
    requireInitialised(handle);
    handle.isEnabled = true;
    return okay();
}

Outcome disableHandle(DeviceCore& core, Arguments arguments) {
    auto& handle = handleOf(core, arguments);
    requireLength(arguments, 2);
    requireInitialised(handle);
    if (!handle.isEnabled) {
        throw CommandError{deviceError::notEnabled};
    }
    handle.isEnabled = false;
    return okay();
}

} // namespace

std::span<const CommandEntry> handleCommands() {
    static constexpr CommandEntry table[] = {
        {"PHRQ", AllowedIn::SetUp, requestHandle}, {"PHF", AllowedIn::SetUp, freeHandle},
        {"PVWR", AllowedIn::SetUp, writeImage},    {"PINIT", AllowedIn::SetUp, initialiseHandle},
        {"PENA", AllowedIn::SetUp, enableHandle},  {"PDIS", AllowedIn::SetUp, disableHandle},
    };
    return table;
}

} // namespace ndisim

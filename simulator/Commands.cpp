#include "simulator/Commands.h"

#include "simulator/Texts.h"

#include <algorithm>

namespace ndisim {

namespace {

constexpr std::size_t maxCommandLength = 1024;

bool isNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

struct Command {
    std::string_view name;
    Arguments arguments;
};

// Removes the CRC of a command in its checked form. Throws CommandError.
std::string_view withoutCrc(std::string_view text, std::size_t nameLength) {
    if (text.size() < nameLength + 1 + 4) {
        throw CommandError{deviceError::commandTooShort};
    }
    const auto content = text.substr(0, text.size() - 4);
    if (parseHex(text.substr(text.size() - 4)) != crc16(content)) {
        throw CommandError{deviceError::badCrc};
    }
    return content;
}

// "NAME:arguments" with CRC, "NAME arguments" or "NAME" without.
Command parseCommand(std::string_view text) {
    if (text.empty()) {
        throw CommandError{deviceError::commandTooShort};
    }
    if (text.size() > maxCommandLength) {
        throw CommandError{deviceError::commandTooLong};
    }
    const auto end = std::ranges::find_if_not(text, isNameCharacter);
    const auto length = static_cast<std::size_t>(end - text.begin());
    if (length == text.size()) {
        return {text, {}};
    }
    if (text[length] == ':') {
        text = withoutCrc(text, length);
    } else if (text[length] != ' ') {
        throw CommandError{deviceError::invalidCommand};
    }
    return {text.substr(0, length), text.substr(length + 1)};
}

void requireState(AllowedIn allowed, DeviceState state) {
    if (allowed == AllowedIn::Always) {
        return;
    }
    if (state == DeviceState::PowerOn) {
        throw CommandError{deviceError::systemNotInitialised};
    }
    const bool isTracking = state == DeviceState::Tracking;
    if ((allowed == AllowedIn::SetUp && isTracking) ||
        (allowed == AllowedIn::Tracking && !isTracking)) {
        throw CommandError{deviceError::wrongMode};
    }
}

// Null for a command that the device does not know: GETLOG and VGET, which newer systems have, too.
const CommandEntry* findCommand(std::string_view name) {
    for (const auto table : {systemCommands(), handleCommands(), portCommands()}) {
        const auto found = std::ranges::find(table, name, &CommandEntry::name);
        if (found != table.end()) {
            return &*found;
        }
    }
    return nullptr;
}

} // namespace

Outcome executeCommand(DeviceCore& core, std::string_view text) {
    const Command command = parseCommand(text);
    const CommandEntry* entry = findCommand(command.name);
    if (entry == nullptr) {
        throw CommandError{deviceError::invalidCommand};
    }
    requireState(entry->allowed, core.state);
    return entry->execute(core, command.arguments);
}

Outcome textReply(std::string_view text) {
    return {withCrc(text), std::nullopt, std::nullopt};
}

Outcome okay() {
    return textReply("OKAY");
}

unsigned replyOptions(Arguments arguments) {
    if (arguments.empty()) {
        return 0x0001;
    }
    requireLength(arguments, 4);
    const auto options = parseHex(arguments);
    if (!options) {
        throw CommandError{deviceError::outOfRange};
    }
    return *options;
}

void requireLength(Arguments arguments, std::size_t length) {
    if (arguments.size() != length) {
        throw CommandError{deviceError::parameterCount};
    }
}

PortHandle& handleOf(DeviceCore& core, Arguments arguments) {
    if (arguments.size() < 2) {
        throw CommandError{deviceError::parameterCount};
    }
    const auto number = parseHex(arguments.substr(0, 2));
    const auto last = static_cast<std::uint32_t>(firstHandle + core.options.maxHandles - 1);
    if (!number || *number < firstHandle || *number > last) {
        throw CommandError{deviceError::invalidHandle};
    }
    const auto found = core.handles.find(static_cast<int>(*number));
    if (found == core.handles.end()) {
        throw CommandError{deviceError::notAllocated};
    }
    return found->second;
}

} // namespace ndisim

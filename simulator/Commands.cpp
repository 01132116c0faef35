#include "simulator/Commands.h"

#include "simulator/Crc.h"
#include "simulator/Texts.h"

#include <algorithm>

namespace ndisim {

namespace {

// GETLOG and VGET are known to newer systems only and count as unknown here.
constexpr std::array<CommandEntry, 24> commandTable{{
    {"COMM", AllowedIn::Always, commands::comm},
    {"INIT", AllowedIn::Always, commands::init},
    {"RESET", AllowedIn::Always, commands::reset},
    {"BEEP", AllowedIn::Always, commands::beep},
    {"VER", AllowedIn::Always, commands::version},
    {"GETINFO", AllowedIn::Always, commands::getInfo},
    {"SFLIST", AllowedIn::Initialised, commands::featureList},
    {"VSEL", AllowedIn::SetUp, commands::selectVolume},
    {"SSTAT", AllowedIn::Initialised, commands::systemStatus},
    {"IRCHK", AllowedIn::SetUp, commands::infraredCheck},
    {"PHRQ", AllowedIn::SetUp, commands::requestHandle},
    {"PHF", AllowedIn::SetUp, commands::freeHandle},
    {"PVWR", AllowedIn::SetUp, commands::writeImage},
    {"PINIT", AllowedIn::SetUp, commands::initialiseHandle},
    {"PENA", AllowedIn::SetUp, commands::enableHandle},
    {"PDIS", AllowedIn::SetUp, commands::disableHandle},
    {"PHSR", AllowedIn::Initialised, commands::listHandles},
    {"PHINF", AllowedIn::Initialised, commands::handleInformation},
    {"PSTAT", AllowedIn::Initialised, commands::portStatus},
    {"TSTART", AllowedIn::SetUp, commands::startTracking},
    {"TSTOP", AllowedIn::Tracking, commands::stopTracking},
    {"BX", AllowedIn::Tracking, commands::binaryTracking},
    {"TX", AllowedIn::Tracking, commands::textTracking},
    {"GX", AllowedIn::Tracking, commands::groupTracking},
}};

} // namespace

const CommandEntry* findCommand(std::string_view name) {
    const auto found = std::ranges::find(commandTable, name, &CommandEntry::name);
    return found == commandTable.end() ? nullptr : &*found;
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

#include "simulator/Commands.h"
#include "simulator/Texts.h"

#include <algorithm>

namespace ndisim {

namespace {

namespace portOption {
constexpr unsigned basic = 0x0001;
constexpr unsigned testing = 0x0002;
constexpr unsigned partNumber = 0x0004;
constexpr unsigned accessories = 0x0008;
constexpr unsigned markerType = 0x0010;
constexpr unsigned location = 0x0020;
constexpr unsigned gpioStatus = 0x0040;
constexpr unsigned allPassive = 0x2000;
constexpr unsigned passive = 0x8000;
} // namespace portOption

// Which handles a PHSR option lists.
bool isListed(const PortHandle& handle, std::uint32_t option) {
    const bool isOccupied = handle.isOccupied();
    switch (option) {
    case 0:
        return true;
    case 1:
        return handle.isGone;
    case 2:
        return isOccupied && !handle.isInitialised;
    case 3:
        return isOccupied && handle.isInitialised && !handle.isEnabled;
    case 4:
        return isOccupied && handle.isEnabled;
    default:
        throw CommandError{deviceError::outOfRange};
    }
}

std::string serialNumber(const PortHandle& handle) {
    return handle.tool.serialNumber.empty()
               ? "3A" + hexText(static_cast<std::uint32_t>(handle.number), 6)
               : handle.tool.serialNumber;
}

// Type 8, manufacturer 12, revision 3, serial number `serialWidth`, status 2 characters.
std::string basicInformation(const PortHandle& handle, std::size_t serialWidth) {
    return padded(handle.tool.type, 8) + padded(handle.tool.manufacturer, 12) +
           padded(handle.tool.revision, 3) + padded(serialNumber(handle), serialWidth) +
           hexText(handle.status(), 2);
}

// Characters 10 and 11 are the physical port.
std::string portLocation(const PortHandle& handle) {
    const int port = handle.isWired ? placeOfHandle(handle.number) : 0;
    std::string location = "00000000000000";
    location[10] = static_cast<char>('0' + port / 10 % 10);
    location[11] = static_cast<char>('0' + port % 10);
    return location;
}

// An image may hold any bytes; a carriage return among them would end the reply.
std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c < 0x20 || c > 0x7E; }, ' ');
    return text;
}

// What PHINF and PSTAT have in common.
std::string commonInformation(const PortHandle& handle, unsigned options, std::size_t serialWidth) {
    std::string text;
    if ((options & portOption::basic) != 0) {
        text += basicInformation(handle, serialWidth);
    }
    if ((options & portOption::testing) != 0) {
        text += "00000000";
    }
    if ((options & portOption::partNumber) != 0) {
        text += padded(printable(handle.partNumber()), 20);
    }
    if ((options & portOption::accessories) != 0) {
        text += "00";
    }
    if ((options & portOption::markerType) != 0) {
        text += handle.isWired ? "00" : "29";
    }
    return text;
}

std::string portLine(DeviceCore& core, int place, bool isPortPresent, unsigned options) {
    const auto found = core.handles.find(firstHandle + place - 1);
    const bool isOccupied =
        isPortPresent && found != core.handles.end() && found->second.isOccupied();
    return (isOccupied ? commonInformation(found->second, options, 7) : "UNOCCUPIED") + "\n";
}

Outcome listHandles(DeviceCore& core, Arguments arguments) {
    const auto option = parseHex(arguments.empty() ? "00" : arguments);
    if (!option) {
        throw CommandError{deviceError::outOfRange};
    }
    std::string list;
    std::uint32_t count = 0;
    for (const auto& [number, handle] : core.handles) {
        if (isListed(handle, *option)) {
            list += hexText(static_cast<std::uint32_t>(number), 2) + hexText(handle.status(), 3);
            ++count;
        }
    }
    return textReply(hexText(count, 2) + list);
}

Outcome handleInformation(DeviceCore& core, Arguments arguments) {
    const auto& handle = handleOf(core, arguments);
    const unsigned options = replyOptions(arguments.substr(2));
    if (!handle.isOccupied()) {
        return textReply("UNOCCUPIED");
    }
    std::string text = commonInformation(handle, options, 8);
    if ((options & portOption::location) != 0) {
        text += portLocation(handle);
    }
    if ((options & portOption::gpioStatus) != 0) {
        text += "00";
    }
    return textReply(text);
}

Outcome portStatus(DeviceCore& core, Arguments arguments) {
    const unsigned options = replyOptions(arguments);
    std::string text;
    for (int place = 1; place <= 3; ++place) {
        text += portLine(core, place, core.isWiredFamily(), options);
    }
    if ((options & portOption::passive) != 0) {
        const int count = (options & portOption::allPassive) != 0 ? 9 : 3;
        for (int place = 1; place <= count; ++place) {
            text += portLine(core, place, !core.isWiredFamily(), options);
        }
    }
    return textReply(text);
}

} // namespace

std::span<const CommandEntry> portCommands() {
    static constexpr CommandEntry table[] = {
        {"PHSR", AllowedIn::Initialised, listHandles},
        {"PHINF", AllowedIn::Initialised, handleInformation},
        {"PSTAT", AllowedIn::Initialised, portStatus},
    };
    return table;
}

} // namespace ndisim

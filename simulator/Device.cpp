#include "simulator/Device.h"

#include "simulator/Commands.h"
#include "simulator/Crc.h"
#include "simulator/Texts.h"

#include <algorithm>
#include <stdexcept>

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

Outcome executeOn(DeviceCore& core, std::string_view text) {
    const Command command = parseCommand(text);
    const CommandEntry* entry = findCommand(command.name);
    if (entry == nullptr) {
        throw CommandError{deviceError::invalidCommand};
    }
    requireState(entry->allowed, core.state);
    return entry->execute(core, command.arguments);
}

void requireWired(const DeviceCore& core) {
    if (!core.isWiredFamily()) {
        throw std::invalid_argument("tools are plugged into aurora only");
    }
}

} // namespace

Clock steadyClock() {
    return [] { return std::chrono::steady_clock::now().time_since_epoch(); };
}

Device::Device(DeviceOptions options, Clock clock) : m_core(std::make_unique<DeviceCore>()) {
    checkOptions(options);
    const DeviceState state = options.state;
    const LinkSettings link = options.link;
    m_core->options = std::move(options);
    m_core->clock = std::move(clock);
    m_core->link = link;
    if (state != DeviceState::PowerOn) {
        m_core->initialise();
    }
    if (state == DeviceState::Tracking) {
        m_core->startTracking(false);
    }
}

Device::~Device() = default;
Device::Device(Device&&) noexcept = default;
Device& Device::operator=(Device&&) noexcept = default;

Outcome Device::execute(std::string_view command) {
    try {
        return executeOn(*m_core, command);
    } catch (const CommandError& error) {
        return {errorReply(error.code), std::nullopt, std::nullopt};
    }
}

Outcome Device::resetLink() {
    m_core->powerOn();
    Outcome outcome = textReply("RESET");
    outcome.link = m_core->link;
    return outcome;
}

std::string Device::errorReply(unsigned code) {
    return withCrc("ERROR" + hexText(code & 0xFFU, 2));
}

Family Device::family() const {
    return m_core->options.family;
}
DeviceState Device::state() const {
    return m_core->state;
}
LinkSettings Device::link() const {
    return m_core->link;
}
std::uint32_t Device::frameNumber() const {
    return m_core->frameNumber();
}
Measurement Device::measure() const {
    return m_core->measure(true);
}
int Device::selectedVolume() const {
    return m_core->volume;
}

std::string Device::loadedPartNumber(int handle) const {
    const auto found = m_core->handles.find(handle);
    const bool isLoaded = found != m_core->handles.end() && found->second.image.isWhole();
    return isLoaded ? found->second.image.partNumber() : std::string();
}

std::vector<std::uint8_t> Device::loadedImage(int handle) const {
    const auto found = m_core->handles.find(handle);
    const bool isLoaded = found != m_core->handles.end() && found->second.image.isWhole();
    return isLoaded ? found->second.image.bytes : std::vector<std::uint8_t>();
}

void Device::plugTool(const WiredTool& tool) {
    auto options = m_core->options;
    std::erase_if(options.tools, [&](const WiredTool& other) { return other.port == tool.port; });
    options.tools.push_back(tool);
    checkOptions(options);
    m_core->options = std::move(options);
    if (m_core->state != DeviceState::PowerOn) {
        m_core->assignWired(tool);
    }
}

void Device::unplugTool(int port) {
    requireWired(*m_core);
    std::erase_if(m_core->options.tools,
                  [port](const WiredTool& tool) { return tool.port == port; });
    if (auto* handle = m_core->findWired(port)) {
        handle->isGone = true;
    }
}

void Device::setToolStates(std::vector<ToolStateRule> rules) {
    m_core->options.toolStates = std::move(rules);
}

void Device::setStrays(unsigned count) {
    auto options = m_core->options;
    options.strays = count;
    checkOptions(options);
    m_core->options.strays = count;
}

} // namespace ndisim

#include "simulator/Device.h"

#include "simulator/Commands.h"
#include "simulator/Texts.h"

#include <utility>

namespace ndisim {

Device::Device(DeviceOptions options, Clock clock) : m_core(std::make_unique<DeviceCore>()) {
    checkOptions(options);
    const DeviceState state = options.state;
    m_core->options = std::move(options);
    m_core->clock = std::move(clock);
    m_core->link = m_core->options.link;
    if (state != DeviceState::PowerOn) {
        m_core->initialise();
    }
    if (state == DeviceState::Tracking) {
        m_core->startTracking(false);
    }
}

Device::~Device() = default;

Outcome Device::execute(std::string_view command) {
    try {
        return executeCommand(*m_core, command);
    } catch (const CommandError& error) {
        return {errorReply(error.code), std::nullopt, std::nullopt};
    }
}

Outcome Device::resetLink() {
    return execute("RESET");
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
int Device::selectedVolume() const {
    return m_core->volume;
}

std::string Device::loadedPartNumber(int handle) const {
    const ToolImage* const image = m_core->loadedImage(handle);
    return image == nullptr ? std::string() : image->partNumber();
}

std::vector<std::uint8_t> Device::loadedImage(int handle) const {
    const ToolImage* const image = m_core->loadedImage(handle);
    return image == nullptr ? std::vector<std::uint8_t>() : image->bytes;
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
    std::erase_if(m_core->options.tools,
                  [port](const WiredTool& tool) { return tool.port == port; });
    if (auto* handle = m_core->findWired(port)) {
        handle->isGone = true;
    }
}

void Device::setStrays(unsigned count) {
    auto options = m_core->options;
    options.strays = count;
    checkOptions(options);
    m_core->options.strays = count;
}

} // namespace ndisim

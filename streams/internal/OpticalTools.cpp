#include "streams/internal/ToolSetup.h"

#include "protocol/device.h"
#include "streams/internal/LogText.h"
#include "streams/internal/ToolCommands.h"
#include "streams/internal/ToolDefinition.h"

#include <memory>

namespace Morvalin {
namespace {

/// The part number of the built-in tool, and of definitions that have none.
constexpr std::int32_t reservedPartNumber = 999999999;
constexpr const char* dummyToolResource = ":/tools/dummy_tool.rom";

void freeStaleHandles(DeviceRecord* device) {
    deviceCommand(device, "PHSR:%02X", 1U);
    const int count = devicePhsrCount(device);
    for (int i = 0; i < count; ++i)
        deviceCommand(device, "PHF:%02X", static_cast<unsigned>(devicePhsrHandle(device, i)));
}

/// A handle for a tool without a cable.
std::int32_t requestPortHandle(DeviceRecord* device) {
    deviceCommand(device, "PHRQ:*********1****");
    return devicePhrqHandle(device);
}

std::uint32_t loadTool(const ToolSetup& setup, const NDITrackingInstrumentInfo& tool) {
    std::int32_t partNumber = reservedPartNumber;
    if (uploadToolDefinition(setup.device, tool.portHandle, tool.romFile, partNumber) != 0) {
        logNdi(Log::Error, "ROM file for ", tool.name, " could not be uploaded from ",
               tool.romFile);
        return InstrumentModification::None;
    }
    if (partNumber == reservedPartNumber)
        logNdi(Log::Warning, "The part number 999999999 is reserved for internal purposes. "
                             "Consider using another part number.");
    const std::uint32_t flags =
        setup.instruments.create(TrackerID(std::to_string(partNumber), tool.name, {}),
                                 std::make_unique<NDITrackingInstrumentInfo>(tool), true);
    initializePort(setup.device, tool.portHandle);
    enablePort(setup.device, tool.portHandle);
    return flags;
}

std::uint32_t loadRegisteredTools(const ToolSetup& setup) {
    std::uint32_t flags = InstrumentModification::None;
    std::vector<NDITrackingInstrumentInfo> tools = setup.registrations.value();
    for (std::size_t i = 0; i < tools.size(); ++i) {
        tools[i].portHandle = requestPortHandle(setup.device);
        storePortHandle(setup.registrations, i, tools[i]);
        flags |= loadTool(setup, tools[i]);
    }
    return flags;
}

void loadDummyTool(const ToolSetup& setup) {
    const std::int32_t handle = requestPortHandle(setup.device);
    setup.dummyToolPortHandle = handle;
    std::int32_t partNumber = reservedPartNumber;
    if (uploadToolDefinition(setup.device, handle, dummyToolResource, partNumber) != 0 ||
        partNumber != reservedPartNumber) {
        logNdi(Log::Error, "Querying raw fiducials not possible");
        return;
    }
    initializePort(setup.device, handle);
    enablePort(setup.device, handle);
}

} // namespace

std::uint32_t setUpOpticalTools(const ToolSetup& setup) {
    std::uint32_t flags = setup.instruments.clear();
    freeStaleHandles(setup.device);
    flags |= loadRegisteredTools(setup);
    if (setup.instruments.size() == 0)
        loadDummyTool(setup);
    const std::optional<std::string> wanted = setup.pendingMainId.exchange(std::nullopt);
    if (setup.instruments.size() > 0 && wanted && !wanted->empty())
        flags |= setup.instruments.setMainById(*wanted);
    return flags;
}

} // namespace Morvalin

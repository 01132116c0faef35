#include "streams/internal/ToolSetup.h"

#include "streams/internal/NdiLog.h"
#include "streams/internal/OpenDevice.h"
#include "streams/internal/ToolCommands.h"

#include <algorithm>
#include <memory>
#include <span>

namespace Morvalin {
namespace {

/// The part number of the built-in tool, and of definitions that have none.
constexpr std::int32_t reservedPartNumber = 999999999;
constexpr const char* dummyToolResource = ":/tools/dummy_tool.rom";

void freeStaleHandles(OpenDevice& device) {
    const int count = listPortHandles(device, PortHandles::ToBeFreed);
    for (int i = 0; i < count; ++i)
        device.command("PHF:%02X", static_cast<unsigned>(devicePhsrHandle(device.record(), i)));
}

/// Notes the handle that a tool was given, unless another tool stands in its place by now.
void storePortHandle(ToolRegistrations& registrations, std::size_t index,
                     const NDITrackingInstrumentInfo& tool) {
    registrations.access([&](std::vector<NDITrackingInstrumentInfo>& tools) {
        if (index >= tools.size())
            return;
        NDITrackingInstrumentInfo& held = tools[index];
        if (held.name == tool.name && held.romFile == tool.romFile && held.port == tool.port)
            held.portHandle = tool.portHandle;
    });
}

bool upload(OpenDevice& device, std::int32_t portHandle, const std::string& path,
            std::int32_t& partNumber) {
    return portHandle != noPortHandle &&
           uploadToolDefinition(device, portHandle, path, partNumber) == 0;
}

std::uint32_t loadTool(const ToolSetup& setup, const NDITrackingInstrumentInfo& tool) {
    std::int32_t partNumber = reservedPartNumber;
    if (!upload(setup.device, tool.portHandle, tool.romFile, partNumber)) {
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

/// A handle that one of the tools before has got is none: this tool's definition would take the
/// place of the other's there, and both would be shown where this one is.
std::int32_t requestOwnHandle(OpenDevice& device,
                              std::span<const NDITrackingInstrumentInfo> before) {
    const std::int32_t handle = requestPortHandle(device);
    const bool isTaken =
        std::any_of(before.begin(), before.end(), [handle](const NDITrackingInstrumentInfo& tool) {
            return tool.portHandle == handle;
        });
    return isTaken ? noPortHandle : handle;
}

std::uint32_t loadRegisteredTools(const ToolSetup& setup) {
    std::uint32_t flags = InstrumentModification::None;
    std::vector<NDITrackingInstrumentInfo> tools = setup.registrations.value();
    for (std::size_t i = 0; i < tools.size(); ++i) {
        tools[i].portHandle = requestOwnHandle(setup.device, {tools.begin(), i});
        storePortHandle(setup.registrations, i, tools[i]);
        flags |= loadTool(setup, tools[i]);
    }
    return flags;
}

void loadDummyTool(const ToolSetup& setup) {
    const std::int32_t handle = requestPortHandle(setup.device);
    setup.dummyToolPortHandle = handle;
    std::int32_t partNumber = reservedPartNumber;
    if (!upload(setup.device, handle, dummyToolResource, partNumber) ||
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

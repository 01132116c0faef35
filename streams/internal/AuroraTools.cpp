#include "streams/internal/ToolSetup.h"

#include "streams/internal/NdiLog.h"
#include "streams/internal/OpenDevice.h"
#include "streams/internal/ToolCommands.h"
#include "streams/internal/ToolInformation.h"

#include <memory>
#include <utility>

namespace Morvalin {
namespace {

constexpr int occupiedBit = 0x01;
constexpr int initializedBit = 0x10;
constexpr int enabledBit = 0x20;

std::int32_t queryPhysicalPort(OpenDevice& device, std::int32_t handle) {
    const std::int32_t port = readPhysicalPort(device, handle);
    logNdi(Log::Detail, "Physical port is ", port, "!");
    return port;
}

void uploadRegistered(OpenDevice& device, const NDITrackingInstrumentInfo& tool) {
    if (tool.portHandle == noPortHandle)
        logNdi(Log::Warning, "Tool definition ", tool.name,
               " has no port handle: the tool in port ", tool.port, " will not be tracked.");
    std::int32_t partNumber = 0; // the tool is named by the part number that it reports itself
    if (uploadToolDefinition(device, tool.portHandle, tool.romFile, partNumber) != 0)
        logNdi(Log::Error, "ROM file for ", tool.name, " could not be uploaded from ",
               tool.romFile);
    else
        logNdi(Log::Information, "ROM file for ", tool.name, " uploaded from ", tool.romFile);
}

struct PluggedTool {
    NDITrackingInstrumentInfo info;
    bool isRegistered = false;
};

/// A registered tool keeps the handle of its registration: the listed one only tells in which port
/// it is plugged.
PluggedTool identifyTool(OpenDevice& device,
                         const std::vector<NDITrackingInstrumentInfo>& registered,
                         std::int32_t listedHandle) {
    const std::int32_t port = queryPhysicalPort(device, listedHandle);
    for (const NDITrackingInstrumentInfo& candidate : registered)
        if (candidate.port == port) {
            uploadRegistered(device, candidate);
            return {candidate, true};
        }
    return {{{}, {}, port, listedHandle}, false};
}

void prepareTool(OpenDevice& device, int position, int status, std::int32_t portHandle) {
    logNdi(Log::Detail, "Trying to initialized tool in port ", position, "...");
    if ((status & initializedBit) == 0)
        initializePort(device, portHandle);
    logNdi(Log::Detail, "Enabling tool in port ", position, "...");
    if ((status & enabledBit) == 0)
        enablePort(device, portHandle);
}

ToolInformation queryToolInformation(OpenDevice& device, int position, std::int32_t portHandle) {
    logNdi(Log::Detail, "Obtaining tool meta data, port ", position, "...");
    return readToolInformation(device, portHandle);
}

std::uint32_t enterTool(const ToolSetup& setup, PluggedTool tool,
                        const ToolInformation& information) {
    if (!tool.isRegistered)
        tool.info.name = information.name;
    const std::string id = std::to_string(tool.info.port) + "-" + information.partNumber;
    const TrackerID trackerId(id, tool.info.name, information.partNumber);
    const std::uint32_t flags = setup.instruments.create(
        trackerId, std::make_unique<NDITrackingInstrumentInfo>(std::move(tool.info)), true);
    if (flags != InstrumentModification::None)
        setup.instruments.modify(id, [&](const std::string&, TrackingInstrument& instrument) {
            instrument.toolType = information.type;
        });
    return flags;
}

} // namespace

std::uint32_t setUpAuroraTools(const ToolSetup& setup) {
    logNdi(Log::Detail, "Querying connected NDI tools...");
    std::uint32_t flags = setup.instruments.clear();
    const std::vector<NDITrackingInstrumentInfo> registered = setup.registrations.value();
    const DeviceRecord* const list = setup.device.record();
    const int count = listPortHandles(setup.device, PortHandles::All);
    logNdi(Log::Detail, "Found ", count, " ports.");
    for (int i = 0; i < count; ++i) {
        const int status = devicePhsrStatus(list, i);
        if ((status & occupiedBit) == 0)
            continue;
        logNdi(Log::Detail, "Tool in port ", i, "!");
        PluggedTool tool = identifyTool(setup.device, registered, devicePhsrHandle(list, i));
        prepareTool(setup.device, i, status, tool.info.portHandle);
        const ToolInformation information =
            queryToolInformation(setup.device, i, tool.info.portHandle);
        flags |= enterTool(setup, std::move(tool), information);
    }
    if (const std::optional<std::string> wanted = setup.pendingMainId.exchange(std::nullopt))
        flags |= setup.instruments.setMainById(*wanted);
    return flags;
}

} // namespace Morvalin

#include "streams/internal/TargetProperties.h"

#include <morvalincore/Properties.h>

#include <utility>

namespace Morvalin {
namespace {

constexpr const char* blockName = "TrackingTargets";

} // namespace

void writeTargets(Properties& properties, const std::vector<NDITrackingInstrumentInfo>& tools) {
    Properties* const written = properties.subProperties(blockName);
    Properties& targets = written != nullptr ? *written : properties.addSubProperties(blockName);
    targets.clear();
    targets.setAttribute("hidden", "true");
    for (const NDITrackingInstrumentInfo& tool : tools) {
        Properties& target = targets.addSubProperties(tool.name);
        target.setParam("Path", tool.romFile);
        target.setParam("Port", tool.port);
    }
}

std::optional<std::vector<NDITrackingInstrumentInfo>> readTargets(const Properties& properties) {
    const Properties* const targets = properties.subProperties(blockName);
    if (targets == nullptr)
        return std::nullopt;
    std::vector<NDITrackingInstrumentInfo> tools;
    for (const Properties& target : targets->children()) {
        NDITrackingInstrumentInfo tool;
        tool.name = target.name();
        target.param("Port", tool.port);
        if (target.param("Path", tool.romFile))
            tools.push_back(std::move(tool));
    }
    return tools;
}

} // namespace Morvalin

#include "plugin/NDIPlugin.h"

#include "plugin/LegacyConversion.h"
#include "plugin/NDIAlgorithmFactory.h"
#include "plugin/NDIControllerFactory.h"
#include "plugin/Resources.h"
#include "plugin/SerialPortSettings.h"

#include <morvalincore/GlobalSettings.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

#include <memory>
#include <utility>

namespace Morvalin {

NDIPlugin::~NDIPlugin() = default;

const char* NDIPlugin::pluginId() {
    return "Morvalin.NDI";
}

std::string NDIPlugin::vendorName() const {
    return "Morvalin NDI maintainers";
}

std::string NDIPlugin::description() const {
    return "Plugin for real-time streaming from NDI tracking systems";
}

std::vector<std::string> NDIPlugin::dependencies() const {
    return {"Morvalin.Stream"};
}

int NDIPlugin::init() {
    try {
        registerWithHost();
        return 0;
    } catch (...) {
        return 1;
    }
}

void NDIPlugin::registerWithHost() {
    initializeResources();
    assignSerialPorts(GlobalSettings::snapshot());

    auto controllerMaker = std::make_unique<NDIControllerFactory>();
    auto algorithmMaker = std::make_unique<NDIAlgorithmFactory>();
    registerFactories(std::move(algorithmMaker), std::move(controllerMaker));
    WorkspaceConversionRegistry::instance().addConversion(
        {"Renamed PolarisAuroraTrackingStream to camera-specific TrackingStream", 33,
         convertLegacyStreams});
}

} // namespace Morvalin

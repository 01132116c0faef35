#include "MorvalinNDIExport.h"

#include "plugin/LegacyConversion.h"
#include "plugin/NDIFactories.h"

#include "protocol/transport.h"
#include "streams/DeviceAddress.h"
#include "streams/SerialPortInspection.h"

#include <morvalincore/GlobalSettings.h>
#include <morvalincore/Properties.h>
#include <morvalincore/SerialPortReport.h>
#include <morvalinlib/MorvalinLibPlugin.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace Morvalin {
namespace {

/// Tells the protocol library what the names of serial ports stand for on this machine: one text
/// per name in the block "SerialPorts" of the host's settings. Names without one, and all of them
/// without that block, stand for what they did before.
void assignSerialPorts(const Properties& globalSettings) {
    const Properties* const ports = globalSettings.subProperties("SerialPorts");
    if (ports == nullptr)
        return;
    for (int index = 0; index < serialPortCount; ++index) {
        std::string path;
        if (ports->param(serialPortName(index), path))
            serialAssignPort(index, path.c_str());
    }
}

} // namespace

/// The plug-in as the host sees it.
class NDIPlugin : public MorvalinLibPlugin, public SerialPortReport {
public:
    static const char* pluginId() { return "Morvalin.NDI"; }

    std::string vendorName() const override { return "Morvalin NDI maintainers"; }
    std::string description() const override {
        return "Plugin for real-time streaming from NDI tracking systems";
    }
    std::vector<std::string> dependencies() const override { return {"Morvalin.Stream"}; }

    /// Registers factories and the conversion of old workspaces. Anything but 0 means that the
    /// plug-in offers nothing; it does not throw.
    int init() override {
        try {
            registerWithHost();
            return 0;
        } catch (...) {
            return 1;
        }
    }

    std::vector<std::string> serialPortNames() const override {
        std::vector<std::string> names;
        for (int index = 0; index < serialPortCount; ++index)
            names.push_back(serialPortName(index));
        return names;
    }
    Port inspectSerialPort(const std::string& name, bool probes) const override {
        return Morvalin::inspectSerialPort(name, probes);
    }

private:
    void registerWithHost() {
        assignSerialPorts(GlobalSettings::snapshot());
        auto controllerMaker = std::make_unique<NDIControllerFactory>();
        auto algorithmMaker = std::make_unique<NDIAlgorithmFactory>();
        registerFactories(std::move(algorithmMaker), std::move(controllerMaker));
        WorkspaceConversionRegistry::instance().addConversion(
            {"Renamed PolarisAuroraTrackingStream to camera-specific TrackingStream", 33,
             convertLegacyStreams});
    }
};

} // namespace Morvalin

// What the host looks up by name. The descriptor is declared before it is defined, since a constant
// is not exported otherwise.
extern "C" {
MORVALINNDI_EXPORT Morvalin::PluginBase* morvalinCreatePlugin();
MORVALINNDI_EXPORT const char* morvalinPluginId();
extern MORVALINNDI_EXPORT const char* const morvalinPluginDescriptor;
}

Morvalin::PluginBase* morvalinCreatePlugin() {
    return new (std::nothrow) Morvalin::NDIPlugin;
}

const char* morvalinPluginId() {
    return Morvalin::NDIPlugin::pluginId();
}

const char* const morvalinPluginDescriptor =
    "__MORVALIN_PLUGIN_V2_MAGIC_STRING__|hostversion=4.4.6|buildflags=MSC_VER:1929,IDL:0|"
    "pluginversion=";

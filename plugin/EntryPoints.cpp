#include "plugin/NDIPlugin.h"

#include "MorvalinNDIExport.h"

#include <new>

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

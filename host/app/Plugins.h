#pragma once

#include <string>
#include <vector>

#include <morvalinlib/PluginLoader.h>

#include "app/Options.h"

namespace Morvalin::App {

/// Tells the plug-ins what serial port names stand for; before they are loaded, because they ask
/// while they are initialised.
void setSerialPorts(const std::vector<SerialPort>& ports);

/// Loads the plug-ins that were named, in their order, or else all in the folder "plugins" beside
/// the program's own, sorted by name. Throws Refusal when one cannot be loaded or there is none.
void loadPlugins(PluginLoader& loader, const std::vector<std::string>& named);

} // namespace Morvalin::App

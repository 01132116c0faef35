#pragma once

#include <string>
#include <vector>

#include <morvalinlib/PluginLoader.h>

namespace Morvalin::App {

/// Loads the plug-ins that were named, in their order, or else all in the folder "plugins" beside
/// the program's own, sorted by name. Throws Refusal when one cannot be loaded or there is none.
void loadPlugins(PluginLoader& loader, const std::vector<std::string>& named);

} // namespace Morvalin::App

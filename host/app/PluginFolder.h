#pragma once

#include <string>
#include <vector>

namespace Morvalin::App {

/// The plug-ins that are loaded unless others are named: those in the folder "plugins" beside the
/// program's own, sorted by name. Throws Refusal when there are none.
std::vector<std::string> defaultPlugins();

} // namespace Morvalin::App

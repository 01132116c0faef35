#pragma once

#include <vector>

#include <morvalincore/SerialPortReport.h>
#include <morvalinlib/PluginLoader.h>

#include "session/SessionOptions.h"

namespace Morvalin::App {

/// The plug-ins that know serial ports, in the order in which they were loaded. They belong to the
/// loader.
std::vector<const SerialPortReport*> serialPortReports(const PluginLoader& plugins);

/// Throws Refusal when one of the ports has a name that none of the plug-ins knows. Where no
/// plug-in knows any, every name passes.
void checkSerialPortNames(const PluginLoader& plugins, const std::vector<SerialPort>& ports);

} // namespace Morvalin::App

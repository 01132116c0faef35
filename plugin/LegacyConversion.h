#pragma once

#include <string>

namespace Morvalin {

class Properties;

/// Older versions had one stream class for all families and told them apart by the parameter
/// "systemType". Gives such blocks of a workspace the id of their family's stream; everything in
/// them stays as it is, and so do blocks whose family is not known. True when a block was renamed.
bool convertLegacyStreams(Properties& workspace, const std::string& path);

} // namespace Morvalin

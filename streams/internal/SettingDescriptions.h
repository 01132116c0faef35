#pragma once

#include <string>
#include <vector>

#include <morvalincore/Describable.h>

#include "streams/NDIConnectionData.h"

namespace Morvalin {

/// The settings of a device stream, in the order in which somebody would set them. `fresh` is the
/// connection of a new stream.
std::vector<SettingDescription>
describeStreamSettings(const NDIConnectionData& fresh,
                       const std::vector<std::string>& measurementRateOptions);

} // namespace Morvalin

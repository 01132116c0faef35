#pragma once

namespace Morvalin {

/// Makes the files that are compiled into the plug-in available below ":/". A second call does
/// nothing.
void initializeResources();

} // namespace Morvalin

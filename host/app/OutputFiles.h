#pragma once

#include <string>
#include <vector>

#include "app/Options.h"

namespace Morvalin::App {

/// Refuses a file that is to be written twice, or written although it is read: one that an option
/// names, or one of `tools`. Writing back the workspace that is run is what --save is for. Links
/// and other ways to name a file are seen through; a terminal or the like may be named twice.
/// Refuses a table or recording that is there already, too, unless that is wanted. Throws Refusal.
void checkOutputFiles(const Options& options, const std::vector<std::string>& tools = {});

} // namespace Morvalin::App

#pragma once

#include <string>
#include <vector>

#include <morvalincore/Properties.h>

#include "app/Options.h"

namespace Morvalin::App {

/// Puts a setting into `target` as the kind that the stream's own `current` settings give that key.
/// A key that the stream does not know is passed on with a warning. Throws Refusal when the value
/// does not fit.
void applySetting(const Setting& setting, const std::string& streamName, const Properties& current,
                  Properties& target);

/// Appends a tool to the block of tools to register, which is made if need be.
void appendTool(const Tool& tool, Properties& target);

/// Throws Refusal when a tool's file cannot be read.
void checkToolFiles(const std::vector<Tool>& tools);

} // namespace Morvalin::App

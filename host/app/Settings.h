#pragma once

#include <string>
#include <vector>

#include <morvalincore/Properties.h>

#include "app/Options.h"

namespace Morvalin::App {

/// Adds to the settings `target` of a stream what the command line says: values as the kind that
/// the stream's own `current` settings give their key, tools behind those that are there. A key
/// that the stream does not know is passed on with a warning. Throws Refusal when a value does not
/// fit.
void applyOptions(const Options& options, const std::string& streamName, const Properties& current,
                  Properties& target);

/// Throws Refusal when a tool's file cannot be read.
void checkToolFiles(const std::vector<Tool>& tools);

} // namespace Morvalin::App

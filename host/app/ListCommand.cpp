#include "app/Commands.h"
#include "app/Plugins.h"
#include "app/Refusal.h"
#include "app/platform/StandardStreams.h"

namespace Morvalin::App {

int listAlgorithms(const Options& options) {
    PluginLoader plugins;
    loadPlugins(plugins, options.plugins);
    std::string text;
    for (const AlgorithmFactory::Descriptor& algorithm : plugins.algorithms())
        text += algorithm.id + '\t' + algorithm.displayName + '\t' + algorithm.category + '\n';

    StandardOutput output;
    std::string error;
    if (output.write(text, error) == StandardOutput::Result::Failed)
        throw Refusal(StreamFailed, "the list could not be written: " + error);
    return Done;
}

} // namespace Morvalin::App

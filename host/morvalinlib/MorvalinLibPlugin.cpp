#include <morvalinlib/MorvalinLibPlugin.h>

#include <utility>

namespace Morvalin {

PluginBase::~PluginBase() = default;

void PluginBase::setApplicationController(ApplicationController*) {}

MorvalinLibPlugin::~MorvalinLibPlugin() = default;

void MorvalinLibPlugin::releaseFactories() {
    controllers.reset();
    algorithms.reset();
}

void MorvalinLibPlugin::registerFactories(
    std::unique_ptr<AlgorithmFactory> algorithmFactory,
    std::unique_ptr<AlgorithmControllerFactory> controllerFactory) {
    algorithms = std::move(algorithmFactory);
    controllers = std::move(controllerFactory);
}

} // namespace Morvalin

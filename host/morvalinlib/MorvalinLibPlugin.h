#pragma once

#include <memory>

#include <morvalinlib/AlgorithmControllerFactory.h>
#include <morvalinlib/AlgorithmFactory.h>
#include <morvalinlib/PluginBase.h>

namespace Morvalin {

/// A plug-in that offers algorithms and controllers for them.
class MORVALINLIB_EXPORT MorvalinLibPlugin : public PluginBase {
public:
    ~MorvalinLibPlugin() override;

    /// The factories, null before init() and after releaseFactories().
    AlgorithmFactory* algorithmFactory() const { return algorithms.get(); }
    AlgorithmControllerFactory* controllerFactory() const { return controllers.get(); }

    /// Destroys the factories, while everything of the derived class that they may refer to still
    /// exists. The host calls it before it destroys the plug-in.
    void releaseFactories();

protected:
    /// Hands both factories over, from init().
    void registerFactories(std::unique_ptr<AlgorithmFactory> algorithmFactory,
                           std::unique_ptr<AlgorithmControllerFactory> controllerFactory);

private:
    std::unique_ptr<AlgorithmFactory> algorithms;
    std::unique_ptr<AlgorithmControllerFactory> controllers;
};

} // namespace Morvalin

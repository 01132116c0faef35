#include "plugin/NDIControllerFactory.h"

namespace Morvalin {

NDIControllerFactory::NDIControllerFactory() : AlgorithmControllerFactory("NDITracking", true) {}

NDIControllerFactory::~NDIControllerFactory() = default;

std::unique_ptr<AlgorithmController> NDIControllerFactory::create(Algorithm*) {
    return nullptr;
}

} // namespace Morvalin

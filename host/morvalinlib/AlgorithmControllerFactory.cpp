#include <morvalinlib/AlgorithmControllerFactory.h>

#include <utility>

namespace Morvalin {

AlgorithmController::~AlgorithmController() = default;

AlgorithmControllerFactory::AlgorithmControllerFactory(std::string name, bool isFactoryOffered) :
    factoryName(std::move(name)), offered(isFactoryOffered) {}

AlgorithmControllerFactory::~AlgorithmControllerFactory() = default;

std::vector<std::string>
AlgorithmControllerFactory::compatibleDataControllers(const DataList&) const {
    return {};
}

} // namespace Morvalin

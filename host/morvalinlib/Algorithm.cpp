#include <morvalinlib/Algorithm.h>

#include <utility>

namespace Morvalin {

Algorithm::~Algorithm() = default;

void Algorithm::setFactoryInfo(FactoryInfo factoryInfo) {
    info = std::move(factoryInfo);
}

std::string Algorithm::name() const {
    return info.displayName;
}

} // namespace Morvalin

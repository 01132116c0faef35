#include <morvalinlib/StreamIoAlgorithm.h>

#include <utility>

#include <morvalincore/GlobalSettings.h>

namespace Morvalin {

Algorithm::~Algorithm() = default;

void Algorithm::setFactoryInfo(FactoryInfo factoryInfo) {
    info = std::move(factoryInfo);
}

std::string Algorithm::name() const {
    return info.displayName;
}

void IoAlgorithm::configureFromGlobalSettings() {
    const Properties settings = GlobalSettings::snapshot();
    configure(settings.subProperties(factoryInfo().id));
}

StreamAlgorithmBase::~StreamAlgorithmBase() = default;

StreamIoAlgorithm::~StreamIoAlgorithm() = default;

} // namespace Morvalin

#include <morvalinlib/IoAlgorithm.h>

#include <morvalincore/GlobalSettings.h>

namespace Morvalin {

void IoAlgorithm::configureFromGlobalSettings() {
    const Properties settings = GlobalSettings::snapshot();
    configure(settings.subProperties(factoryInfo().id));
}

} // namespace Morvalin

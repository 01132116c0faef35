#include <morvalincore/Configurable.h>

namespace Morvalin {

void Configurable::configure(const Properties*) {}
void Configurable::configuration(Properties*) {}
void Configurable::configureDefaults() {}
Configurable::~Configurable() = default;

} // namespace Morvalin

#include <morvalincore/Describable.h>

namespace Morvalin {

Describable::~Describable() = default;

} // namespace Morvalin

#include <morvalincore/Diagnosable.h>

namespace Morvalin {

Diagnosable::~Diagnosable() = default;

} // namespace Morvalin

#include <morvalincore/Diagnosable.h>

namespace Morvalin {

Diagnosable::~Diagnosable() = default;

Diagnosable::Waiting Diagnosable::waiting() const {
    return {};
}

} // namespace Morvalin

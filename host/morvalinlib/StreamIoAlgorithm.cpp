#include <morvalinlib/StreamIoAlgorithm.h>

namespace Morvalin {

StreamAlgorithmBase::~StreamAlgorithmBase() = default;

StreamIoAlgorithm::~StreamIoAlgorithm() = default;

} // namespace Morvalin

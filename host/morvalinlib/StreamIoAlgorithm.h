#pragma once

#include <morvalinlib/IoAlgorithm.h>
#include <morvalinlib/StreamAlgorithmBase.h>

namespace Morvalin {

/// An algorithm whose result is a stream.
class MORVALINLIB_EXPORT StreamIoAlgorithm : public StreamAlgorithmBase, public IoAlgorithm {
public:
    ~StreamIoAlgorithm() override;
    Stream* stream() const { return heldStream(); }
};

} // namespace Morvalin

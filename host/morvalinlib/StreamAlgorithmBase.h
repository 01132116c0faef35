#pragma once

#include <memory>

#include <morvalinlib/Export.h>
#include <morvalinstream/Stream.h>

namespace Morvalin {

/// Holds the one stream of a stream algorithm.
class MORVALINLIB_EXPORT StreamAlgorithmBase {
public:
    StreamAlgorithmBase() = default;
    StreamAlgorithmBase(const StreamAlgorithmBase&) = delete;
    StreamAlgorithmBase& operator=(const StreamAlgorithmBase&) = delete;
    virtual ~StreamAlgorithmBase();

    /// The stream, null until one was adopted. It belongs to the algorithm unless its ownership was
    /// transferred.
    Stream* heldStream() const { return streamPointer; }

    /// Somebody else has taken the stream over and will destroy it.
    void setStreamOwnershipTransferred() { streamOwnershipTransferred = true; }

protected:
    Stream* streamPointer = nullptr;
    bool streamOwnershipTransferred = false;
};

} // namespace Morvalin

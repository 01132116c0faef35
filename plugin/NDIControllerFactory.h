#pragma once

#include <memory>

#include <morvalinlib/AlgorithmControllerFactory.h>

namespace Morvalin {

/// Makes the panels of the device streams. There are none yet: until then the host shows its own
/// view of a stream.
class NDIControllerFactory : public AlgorithmControllerFactory {
public:
    NDIControllerFactory();
    ~NDIControllerFactory() override;

    std::unique_ptr<AlgorithmController> create(Algorithm* algorithm) override;
};

} // namespace Morvalin

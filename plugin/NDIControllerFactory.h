#pragma once

#include <memory>

#include <morvalinlib/AlgorithmControllerFactory.h>

namespace Morvalin {

/// Makes the panels of the device streams; null for any other algorithm.
class NDIControllerFactory : public AlgorithmControllerFactory {
public:
    NDIControllerFactory();
    ~NDIControllerFactory() override;

    std::unique_ptr<AlgorithmController> create(Algorithm* algorithm) override;
};

} // namespace Morvalin

#pragma once

#include <memory>

#include <morvalinlib/AlgorithmControllerFactory.h>
#include <morvalinlib/AlgorithmFactory.h>

namespace Morvalin {

/// Offers the streams of the three device families in the host's "IO" menu.
class NDIAlgorithmFactory : public AlgorithmFactory {
public:
    NDIAlgorithmFactory();
    ~NDIAlgorithmFactory() override;
};

/// Makes the panels of the device streams; null for any other algorithm.
class NDIControllerFactory : public AlgorithmControllerFactory {
public:
    NDIControllerFactory();
    ~NDIControllerFactory() override;

    std::unique_ptr<AlgorithmController> create(Algorithm* algorithm) override;
};

} // namespace Morvalin

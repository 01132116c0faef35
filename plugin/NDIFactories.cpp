#include "plugin/NDIFactories.h"

#include "gui/NDITrackingController.h"
#include "streams/PolarisAuroraTrackingStream.h"

#include <morvalinlib/CreateStreamIoAlgorithm.h>

namespace Morvalin {
namespace {

template <int N>
using StreamAlgorithm = CreateStreamIoAlgorithm<PolarisAuroraTrackingStream<N>>;

bool needsNoInput(const DataList& input) {
    return input.empty();
}

template <int N>
std::unique_ptr<Algorithm> createAlgorithm(const AlgorithmFactory::Entry& entry,
                                           const DataList& input) {
    if (!needsNoInput(input))
        return nullptr;
    auto algorithm = std::make_unique<StreamAlgorithm<N>>();
    algorithm->setFactoryInfo({entry.id, entry.displayName(), input});
    algorithm->configureFromGlobalSettings();
    algorithm->configure(entry.configuration.get());
    return algorithm;
}

template <int N>
StreamIoAlgorithm* asStreamOf(Algorithm* algorithm) {
    return dynamic_cast<StreamAlgorithm<N>*>(algorithm);
}

} // namespace

NDIAlgorithmFactory::NDIAlgorithmFactory() : AlgorithmFactory("NDITracking", true) {
    registerAlgorithm("IO;NDI Tracking;Polaris Vega/Lyra", "PolarisVegaTrackingStream",
                      needsNoInput, createAlgorithm<NDIDeviceFamily::PolarisVega>);
    registerAlgorithm("IO;NDI Tracking;Polaris Vicra/Spectra", "PolarisVicraTrackingStream",
                      needsNoInput, createAlgorithm<NDIDeviceFamily::PolarisVicra>);
    registerAlgorithm("IO;NDI Tracking;Aurora", "AuroraTrackingStream", needsNoInput,
                      createAlgorithm<NDIDeviceFamily::Aurora>);
}

NDIAlgorithmFactory::~NDIAlgorithmFactory() = default;

NDIControllerFactory::NDIControllerFactory() : AlgorithmControllerFactory("NDITracking", true) {}

NDIControllerFactory::~NDIControllerFactory() = default;

std::unique_ptr<AlgorithmController> NDIControllerFactory::create(Algorithm* algorithm) {
    for (const auto asDeviceStream :
         {asStreamOf<NDIDeviceFamily::PolarisVega>, asStreamOf<NDIDeviceFamily::PolarisVicra>,
          asStreamOf<NDIDeviceFamily::Aurora>})
        if (StreamIoAlgorithm* const found = asDeviceStream(algorithm))
            return std::make_unique<NDITrackingController>(found);
    return nullptr;
}

} // namespace Morvalin

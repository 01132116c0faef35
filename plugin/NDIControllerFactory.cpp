#include "plugin/NDIControllerFactory.h"

#include "gui/NDITrackingController.h"
#include "streams/PolarisAuroraTrackingStream.h"

#include <morvalinlib/CreateStreamIoAlgorithm.h>

namespace Morvalin {
namespace {

template <int N>
StreamIoAlgorithm* asStreamOf(Algorithm* algorithm) {
    return dynamic_cast<CreateStreamIoAlgorithm<PolarisAuroraTrackingStream<N>>*>(algorithm);
}

} // namespace

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

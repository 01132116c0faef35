#include "plugin/NDIAlgorithmFactory.h"

#include "streams/PolarisAuroraTrackingStream.h"

#include <morvalincore/Log.h>
#include <morvalinlib/CreateStreamIoAlgorithm.h>

#include <exception>
#include <memory>

namespace Morvalin {
namespace {

bool needsNoInput(const DataList& input) {
    return input.empty();
}

template <int N>
std::unique_ptr<Algorithm> createAlgorithm(const AlgorithmFactory::Entry& entry,
                                           const DataList& input) {
    if (!input.empty())
        return nullptr;
    auto algorithm = std::make_unique<CreateStreamIoAlgorithm<PolarisAuroraTrackingStream<N>>>();
    algorithm->setFactoryInfo({entry.id, entry.displayName(), input});
    algorithm->configureFromGlobalSettings();
    if (entry.configuration)
        algorithm->configure(entry.configuration.get());
    return algorithm;
}

void logFailure(const AlgorithmFactory::Entry& entry, const char* message) {
    if (Log::isAccepted(Log::Error))
        Log::log(Log::Error, "AlgorithmFactory",
                 "Cannot create algorithm " + entry.id + ": " + message);
}

template <int N>
std::unique_ptr<Algorithm> createOrLog(const AlgorithmFactory::Entry& entry,
                                       const DataList& input) {
    try {
        return createAlgorithm<N>(entry, input);
    } catch (const std::exception& exception) {
        logFailure(entry, exception.what());
    } catch (...) {
        logFailure(entry, "");
    }
    return nullptr;
}

} // namespace

NDIAlgorithmFactory::NDIAlgorithmFactory() : AlgorithmFactory("NDITracking", true) {
    registerFamily<NDIDeviceFamily::PolarisVega>("IO;NDI Tracking;Polaris Vega/Lyra",
                                                 "PolarisVegaTrackingStream");
    registerFamily<NDIDeviceFamily::PolarisVicra>("IO;NDI Tracking;Polaris Vicra/Spectra",
                                                  "PolarisVicraTrackingStream");
    registerFamily<NDIDeviceFamily::Aurora>("IO;NDI Tracking;Aurora", "AuroraTrackingStream");
}

NDIAlgorithmFactory::~NDIAlgorithmFactory() = default;

template <int N>
void NDIAlgorithmFactory::registerFamily(const char* category, const char* registeredName) {
    registerAlgorithm(category, registeredName, needsNoInput, createOrLog<N>);
}

} // namespace Morvalin

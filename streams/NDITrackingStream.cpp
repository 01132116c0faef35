#include "streams/NDITrackingStream.h"

#include "streams/internal/NdiLog.h"
#include "streams/internal/StreamProperties.h"

#include <morvalincore/Properties.h>

#include <utility>

namespace Morvalin {

NDITrackingStream::NDITrackingStream(std::string name) : TrackingStream(std::move(name)) {}
NDITrackingStream::~NDITrackingStream() = default;

std::vector<std::string> NDITrackingStream::measurementRateOptions() const {
    return {};
}

std::vector<std::string> NDITrackingStream::maxRangeOptions() const {
    return {};
}

std::int32_t NDITrackingStream::maxRange() const {
    return 0;
}

void NDITrackingStream::setMaxRange(std::int32_t) {}

void NDITrackingStream::configure(const Properties* properties) {
    Configurable::configure(properties);
    if (properties == nullptr)
        return;
    std::int32_t range = 0;
    if (properties->param(StreamKeys::range, range) && range != maxRange())
        setMaxRange(range);
    for (const char* const removed : StreamKeys::removed)
        if (properties->hasParam(removed))
            logNdi(Log::Warning, "Parameter '", removed,
                   "' was removed as it was not used anymore");
}

void NDITrackingStream::configuration(Properties* properties) {
    Configurable::configuration(properties);
    if (properties == nullptr)
        return;
    const std::vector<std::string> options = maxRangeOptions();
    if (options.empty())
        return;
    properties->setParam(StreamKeys::range, maxRange());
    properties->setParamType(StreamKeys::range, Properties::choiceParameterType);
    properties->setParamAttributes(StreamKeys::range, {{"values", joinOptions(options)}});
}

} // namespace Morvalin

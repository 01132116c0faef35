#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <morvalincore/Data.h>
#include <morvalinstream/Export.h>
#include <morvalinstream/TrackingInstrument.h>

namespace Morvalin {

/// One frame of a tracking stream: copies of its instruments and further components, such as
/// fiducials. Never changed after it was handed out.
class MORVALINSTREAM_EXPORT TrackingStreamData : public Data {
public:
    std::string kind() const override;
    std::string describe() const override;

    /// Takes ownership; null adds nothing.
    void addComponent(std::unique_ptr<const Data> component);
    const std::vector<std::unique_ptr<const Data>>& components() const { return parts; }

    std::string streamName;
    std::string mainId;         ///< empty when there is no main instrument
    std::int64_t timestamp = 0; ///< milliseconds since 1970-01-01 UTC
    std::vector<TrackingInstrument> instruments;

private:
    std::vector<std::unique_ptr<const Data>> parts;
};

} // namespace Morvalin

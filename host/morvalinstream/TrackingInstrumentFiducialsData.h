#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <morvalincore/Data.h>
#include <morvalinstream/Export.h>

namespace Morvalin {

/// Markers that belong to no instrument: positions in millimetres and an identifier for each.
class MORVALINSTREAM_EXPORT TrackingInstrumentFiducialsData : public Data {
public:
    using Position = std::array<double, 3>;

    TrackingInstrumentFiducialsData() = default;
    std::string kind() const override;
    std::string describe() const override;

    std::vector<Position> positions;
    std::vector<std::uint64_t> identifiers; ///< as many as positions
};

} // namespace Morvalin

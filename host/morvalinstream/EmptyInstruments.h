#pragma once

#include <morvalinstream/ThreadSafeInstrumentsBase.h>

namespace Morvalin {

/// The registry of a stream that has none: it holds nothing, takes nothing and says so without a
/// log line.
class EmptyInstruments final : public ThreadSafeInstrumentsBase {
public:
    std::vector<TrackingInstrument> instruments() const override;
    std::optional<TrackingInstrument> mainInstrument() const override;
    std::uint32_t setMainByIndex(std::uint32_t index) override;
    std::uint32_t setMainById(const std::string& id) override;
    std::uint32_t mainIndex() const override;
    std::string mainId() const override;
    std::string name(const std::string& id) const override;
    std::uint32_t setActive(const std::string& id, bool active) override;
    bool isActive(const std::string& id) const override;
    std::uint32_t create(const TrackerID& trackerId, bool active) override;
    std::uint32_t create(const std::string& baseId, const std::string& modelNumber,
                         const std::string& name, bool active) override;
    std::uint32_t remove(const std::string& id) override;
    std::uint32_t clear() override;
    std::uint32_t resetPoses(std::int64_t timestamp) override;
    std::uint32_t setPose(const std::string& id, const Matrix4& matrix, double quality,
                          std::int64_t timestamp, std::int32_t trackingState) override;
    std::uint32_t modify(const std::string& id, const ModifyFunction& function) override;
    std::uint32_t modifyAll(const ModifyFunction& function) override;
    std::size_t size() const override;
    std::optional<TrackingInstrument> instrument(const std::string& id) const override;
};

} // namespace Morvalin

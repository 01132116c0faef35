#pragma once

#include <morvalinstream/ThreadSafeInstrumentsBase.h>

namespace Morvalin {

/// The registry of a stream that has none: it holds nothing, takes nothing and says so without a
/// log line.
class EmptyInstruments final : public ThreadSafeInstrumentsBase {
public:
    std::vector<TrackingInstrument> instruments() const override { return {}; }
    std::optional<TrackingInstrument> mainInstrument() const override { return {}; }
    std::uint32_t setMainByIndex(std::uint32_t) override { return unchanged; }
    std::uint32_t setMainById(const std::string&) override { return unchanged; }
    std::uint32_t mainIndex() const override { return 0; }
    std::string mainId() const override { return {}; }
    std::string name(const std::string&) const override { return {}; }
    std::uint32_t setActive(const std::string&, bool) override { return unchanged; }
    bool isActive(const std::string&) const override { return false; }
    std::uint32_t create(const TrackerID&, bool) override { return unchanged; }
    std::uint32_t create(const std::string&, const std::string&, const std::string&,
                         bool) override {
        return unchanged;
    }
    std::uint32_t remove(const std::string&) override { return unchanged; }
    std::uint32_t clear() override { return unchanged; }
    std::uint32_t resetPoses(std::int64_t) override { return unchanged; }
    std::uint32_t setPose(const std::string&, const Matrix4&, double, std::int64_t,
                          std::int32_t) override {
        return unchanged;
    }
    std::uint32_t modify(const std::string&, const ModifyFunction&) override { return unchanged; }
    std::uint32_t modifyAll(const ModifyFunction&) override { return unchanged; }
    std::size_t size() const override { return 0; }
    std::optional<TrackingInstrument> instrument(const std::string&) const override { return {}; }

private:
    static constexpr std::uint32_t unchanged = InstrumentModification::None;
};

} // namespace Morvalin

#include "EmptyInstruments.h"

namespace Morvalin {

namespace {
constexpr std::uint32_t nothingChanged = InstrumentModification::None;
}

std::vector<TrackingInstrument> EmptyInstruments::instruments() const {
    return {};
}

std::optional<TrackingInstrument> EmptyInstruments::mainInstrument() const {
    return std::nullopt;
}

std::uint32_t EmptyInstruments::setMainByIndex(std::uint32_t) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::setMainById(const std::string&) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::mainIndex() const {
    return 0;
}

std::string EmptyInstruments::mainId() const {
    return {};
}

std::string EmptyInstruments::name(const std::string&) const {
    return {};
}

std::uint32_t EmptyInstruments::setActive(const std::string&, bool) {
    return nothingChanged;
}

bool EmptyInstruments::isActive(const std::string&) const {
    return false;
}

std::uint32_t EmptyInstruments::create(const TrackerID&, bool) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::create(const std::string&, const std::string&, const std::string&,
                                       bool) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::remove(const std::string&) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::clear() {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::resetPoses(std::int64_t) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::setPose(const std::string&, const Matrix4&, double, std::int64_t,
                                        std::int32_t) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::modify(const std::string&, const ModifyFunction&) {
    return nothingChanged;
}

std::uint32_t EmptyInstruments::modifyAll(const ModifyFunction&) {
    return nothingChanged;
}

std::size_t EmptyInstruments::size() const {
    return 0;
}

std::optional<TrackingInstrument> EmptyInstruments::instrument(const std::string&) const {
    return std::nullopt;
}

} // namespace Morvalin

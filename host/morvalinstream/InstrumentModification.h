#pragma once

#include <cstdint>

namespace Morvalin {

/// What an operation on a registry of instruments has changed: a set of these flags.
namespace InstrumentModification {
constexpr std::uint32_t None = 0;
constexpr std::uint32_t Data = 1;           ///< pose, quality, timestamp or tracking state
constexpr std::uint32_t MainInstrument = 2; ///< another instrument is the main one
constexpr std::uint32_t Instruments = 4;    ///< the set of instruments, a name or a model number
} // namespace InstrumentModification

} // namespace Morvalin

#pragma once

#include <cstdint>

// The codes that the library itself sets; the texts are in errors.cpp.
namespace protocol {

inline constexpr std::int32_t kBadCrc = 0x100;
inline constexpr std::int32_t kNoConnection = 0x200;
inline constexpr std::int32_t kBadLineSettings = 0x300;
inline constexpr std::int32_t kTimeout = 0x400;
inline constexpr std::int32_t kWriteFailed = 0x500;
inline constexpr std::int32_t kReadFailed = 0x600;
inline constexpr std::int32_t kNoReset = 0x700;
inline constexpr std::int32_t kNotFound = 0x800;

} // namespace protocol

#pragma once

#include "simulator/Exchange.h"

#include <string>

namespace ndisim {

/// Reply options of BX, TX and GX.
namespace replyOption {
inline constexpr unsigned transforms = 0x0001;
inline constexpr unsigned toolInformation = 0x0002;
inline constexpr unsigned singleStray = 0x0004;
inline constexpr unsigned markers = 0x0008;     ///< binary only; the frame numbers of a GX reply
inline constexpr unsigned outOfVolume = 0x0800; ///< poses outside the volume as well
inline constexpr unsigned strays = 0x1000;
inline constexpr unsigned allPassivePorts = 0x2000; ///< GX: nine passive ports instead of three
inline constexpr unsigned passivePorts = 0x8000;    ///< GX
} // namespace replyOption

/// A whole binary reply: start bytes, length, header CRC, body, body CRC, all little-endian.
std::string encodeBx(const Measurement& measurement, unsigned options);

/// The text of a TX reply, without CRC and carriage return.
std::string encodeTx(const Measurement& measurement, unsigned options);

/// The text of a GX reply, without CRC and carriage return. A tool's letter or digit in such a
/// reply is its place: 1 to 3 for plugged tools, A to I (the first to the ninth) for the others.
std::string encodeGx(const Measurement& measurement, unsigned options, bool wired);

} // namespace ndisim

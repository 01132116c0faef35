#pragma once

#include "protocol/device.h"

#include <cstdint>
#include <string_view>

// The decoders of the stored replies: bytes in, record fields out, no input or output. A reply has
// passed its CRC check, but nothing else about it is trusted: no decoder reads past its end or
// writes past a store. What a reply does not hold keeps its value from the last one.
namespace protocol {

// The command is the text that was answered, as sent: its reply option decides the layout. The data
// are without CRC and CR.
struct Reply {
    std::string_view command;
    std::string_view data;
};

// The bits of the reply options of BX, TX and GX, and the two last of PSTAT.
inline constexpr std::uint32_t kTransforms = 0x0001;
inline constexpr std::uint32_t kInformation = 0x0002;
inline constexpr std::uint32_t kSingleStray = 0x0004;
inline constexpr std::uint32_t kMarkers = 0x0008; // BX
inline constexpr std::uint32_t kFrames = 0x0008;  // GX
inline constexpr std::uint32_t kPassiveStrays = 0x1000;
inline constexpr std::uint32_t kAllPassivePorts = 0x2000; // nine, else three
inline constexpr std::uint32_t kPassivePorts = 0x8000;

void decodeBx(DeviceRecord& record, const Reply& reply);
void decodeTx(DeviceRecord& record, const Reply& reply);
void decodeGx(DeviceRecord& record, const Reply& reply);
void decodePhinf(DeviceRecord& record, const Reply& reply);
void decodePhrq(DeviceRecord& record, const Reply& reply);
void decodePhsr(DeviceRecord& record, const Reply& reply);
void decodePstat(DeviceRecord& record, const Reply& reply);
void decodeSstat(DeviceRecord& record, const Reply& reply);
void decodeIrchk(DeviceRecord& record, const Reply& reply);

} // namespace protocol

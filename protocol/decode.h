#pragma once

#include "protocol/device.h"

#include <cstdint>
#include <string_view>

// The decoders of the stored replies: bytes in, record fields out, no input or output. A reply has
// passed its CRC check, but nothing else about it is trusted: no decoder reads past its end or
// writes past a store. What a reply does not hold keeps its value from the last one.
namespace protocol {

struct Reply {
    std::string_view
        command; // the text that was answered, as sent: its reply option decides the layout
    std::string_view data; // without CRC and CR
};

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

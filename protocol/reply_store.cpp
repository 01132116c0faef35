#include "protocol/channel.h"
#include "protocol/decode.h"

namespace protocol {
namespace {

constexpr int kInitPauseMs = 100;

using Decoder = void (*)(DeviceRecord& record, const Reply& reply);

constexpr struct {
    std::string_view name;
    Decoder decode;
} kDecoders[] = {
    {"GX", decodeGx},       {"BX", decodeBx},       {"TX", decodeTx},
    {"IRCHK", decodeIrchk}, {"PHINF", decodePhinf}, {"PHRQ", decodePhrq},
    {"PHSR", decodePhsr},   {"PSTAT", decodePstat}, {"SSTAT", decodeSstat},
};

} // namespace

void storeReply(DeviceRecord& record, const Command& command, std::string_view reply) {
    if (command.name == "COMM") {
        applyCommSettings(record, command.text);
    } else if (command.name == "INIT") {
        pauseTransport(record, kInitPauseMs);
    }
    for (const auto& [name, decode] : kDecoders) {
        if (name == command.name) {
            decode(record, {command.text, reply});
            return;
        }
    }
}

} // namespace protocol

#pragma once

#include "tests/protocol/ScriptedPeer.h"
#include "tests/protocol/Wire.h"

#include <atomic>
#include <string>

// A device that numbers its frames and answers everything else with OKAY.
inline ScriptedPeer::Answer track(const std::string& command) {
    static std::atomic<unsigned> frame;
    if (command.starts_with("TX")) {
        return wire::text("010AMISSING00000031" + wire::hex(++frame, 8) + "\n0000");
    }
    if (command.starts_with("BX")) {
        return wire::binary("\x01\x0A\x02" + wire::le32(0x31) + wire::le32(++frame) +
                            wire::le16(0));
    }
    return wire::text("OKAY");
}

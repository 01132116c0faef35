#pragma once

#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/ScriptedPeer.h"
#include "tests/protocol/Wire.h"

#include <atomic>
#include <gtest/gtest.h>

constexpr int kPatienceMs = 20000; // only ends a test that has gone wrong

// A BX reply of one handle with port status and frame number only.
inline std::string missingTool(std::uint32_t frame) {
    return wire::binary("\x01\x0A\x02" + wire::le32(0x31) + wire::le32(frame) + wire::le16(0));
}

// A device that numbers its frames and answers everything else with OKAY.
inline std::string track(const std::string& command) {
    static std::atomic<unsigned> frame;
    if (command.starts_with("TX")) {
        return wire::text("010AMISSING00000031" + wire::hex(++frame, 8) + "\n0000");
    }
    return command.starts_with("BX") ? missingTool(++frame) : wire::text("OKAY");
}

// A device of the library and the peer that it talks to.
class Connection : public testing::Test {
protected:
    explicit Connection(ScriptedPeer::Kind kind = ScriptedPeer::Kind::tcp) : peer(kind, track) {}

    void SetUp() override { connect(); }

    void connect() {
        const bool isSerial = peer.port() == 0;
        device.reset(isSerial ? deviceOpenSerial(peer.path())
                              : deviceOpenNetwork("127.0.0.1", peer.port()));
        ASSERT_TRUE(device);
        if (!isSerial) {
            deviceSetNetworkTimeout(device.get(), kPatienceMs);
        }
    }

    std::int32_t errorOf(const std::string& command) {
        deviceCommand(device.get(), "%s", command.c_str());
        return deviceGetError(device.get());
    }

    ScriptedPeer peer;
    RecordPtr device;
};

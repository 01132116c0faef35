#include "tests/windows/TestDevice.h"

#include <gmock/gmock.h>
#include <winsock2.h>

using namespace testdevice;

TEST(Network, ResolvesNamesAndAddressesAndReadsOnAThread) {
    for (const char* const nowhere : {"999.1.1.1", "no.such.", "1.2.3.4:8765", "255.255.255.255"}) {
        EXPECT_EQ(deviceOpenNetwork(nowhere, tcpPort()), nullptr) << nowhere;
    }
    EXPECT_EQ(deviceOpenNetwork("127.0.0.1", 1), nullptr);
    const RecordPtr device(deviceOpenNetwork("localhost", tcpPort()));
    ASSERT_NE(device, nullptr);
    deviceSetThreadMode(device.get(), true);
    for (const char* command : {"INIT:", "PINIT:0A", "PENA:0AD", "TSTART:"}) {
        EXPECT_EQ(ask(*device, command), "OKAY") << command;
    }
    for (const char* command : {"TX:0801", "VER:0", "TX:0801"}) {
        ask(*device, command);
        EXPECT_EQ(deviceGetError(device.get()), 0) << command;
    }
    float pose[8];
    EXPECT_EQ(deviceTxTransformF(device.get(), 0x0A, pose), 0);
}

// The device answers the first VER 600 ms late, is not waited for, and closes at the second one.
TEST(NetworkFault, LateRepliesAndClosedConnectionsAreErrors) {
    RecordPtr device = openNetwork(150);
    ASSERT_NE(device, nullptr);
    char buffer[16];
    std::int32_t systemError = 0;
    EXPECT_EQ(netRead(device->socket, buffer, sizeof(buffer), false, &systemError), 0);
    EXPECT_EQ(systemError, WSAETIMEDOUT);
    deviceSetNetworkTimeout(device.get(), 0); // no time-out to set: the old one stays
    deviceCommand(device.get(), "VER:0");
    EXPECT_EQ(deviceGetError(device.get()), 0x400);
    serialSleep(1500);
    deviceSetNetworkTimeout(device.get(), 20000);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY"); // not the late answer
    for (int i = 0; i < 5; ++i) {
        deviceCommand(device.get(), "VER:%d", i);
        EXPECT_THAT(deviceGetError(device.get()), testing::AnyOf(0x400, 0x500, 0x600));
    }
    device = openNetwork();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
}

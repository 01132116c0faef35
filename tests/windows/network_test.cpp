#include "tests/windows/TestDevice.h"

#include <gmock/gmock.h>
#include <winsock2.h>

using namespace testdevice;

TEST(Network, ResolvesNamesAndAddresses) {
    const std::pair<const char*, bool> cases[] = {
        {"127.0.0.1", true}, {"localhost", true},     {"999.1.1.1", false},
        {"no.such.", false}, {"1.2.3.4:8765", false}, {"255.255.255.255", false},
    };
    for (const auto& [host, connects] : cases) {
        const DevicePtr device(deviceOpenNetwork(host, tcpPort()));
        EXPECT_EQ(device != nullptr, connects) << host;
        if (device) {
            EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
        }
    }
    EXPECT_EQ(deviceOpenNetwork("127.0.0.1", 1), nullptr);
}

TEST(Network, StreamsWithAndWithoutTheReaderThread) {
    const DevicePtr device = openNetwork();
    ASSERT_NE(device, nullptr);
    for (const char* command : {"INIT:", "PINIT:0A", "PENA:0AD"}) {
        EXPECT_EQ(ask(*device, command), "OKAY") << command;
    }
    for (const bool isThreaded : {false, true}) {
        deviceSetThreadMode(device.get(), isThreaded);
        EXPECT_EQ(ask(*device, "TSTART:"), "OKAY");
        for (int frame = 0; frame < 10; ++frame) {
            ask(*device, "TX:0801");
            float pose[8];
            EXPECT_EQ(deviceTxTransformF(device.get(), 0x0A, pose), 0);
            ask(*device, isThreaded ? "VER:0" : "BX:0801");
            EXPECT_EQ(deviceGetError(device.get()), 0);
        }
        EXPECT_EQ(ask(*device, "TSTOP:"), "OKAY");
    }
}

// The device answers VER 600 ms late and is not waited for.
TEST(NetworkFault, ALateReplyIsNotTakenForTheNextOne) {
    const DevicePtr device = openNetwork(150);
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
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
}

// The device closes the connection at VER; the next one is served.
TEST(NetworkFault, AClosedConnectionIsAnErrorOfEveryCommand) {
    DevicePtr device = openNetwork();
    ASSERT_NE(device, nullptr);
    for (int i = 0; i < 5; ++i) {
        deviceCommand(device.get(), "VER:%d", i);
        EXPECT_THAT(deviceGetError(device.get()), testing::AnyOf(0x400, 0x500, 0x600));
    }
    device = openNetwork();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
}

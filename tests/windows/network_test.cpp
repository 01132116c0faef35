#include "tests/windows/TestDevice.h"

#include <chrono>
#include <cmath>
#include <fstream>
#include <gmock/gmock.h>
#include <thread>
#include <winsock2.h>

using namespace testdevice;
using testing::AnyOf;
using testing::StartsWith;

namespace {

// A tool definition of the size of a real one, and its file.
std::string writeTool() {
    std::string image(1024, '\0');
    image.replace(0, 3, "NDI");
    image.replace(592, 9, "610065432");
    const std::string path = testing::TempDir() + "windows-tool.rom";
    std::ofstream(path, std::ios::binary) << image;
    return path;
}

int loadTool(DeviceRecord& device) {
    EXPECT_EQ(ask(device, "PHRQ:*********1****").size(), 2u);
    const int handle = devicePhrqHandle(&device);
    EXPECT_EQ(deviceUploadRom(&device, handle, writeTool().c_str()), 0);
    deviceCommand(&device, "PINIT:%02X", static_cast<unsigned>(handle));
    EXPECT_EQ(deviceGetError(&device), 0);
    deviceCommand(&device, "PENA:%02XD", static_cast<unsigned>(handle));
    EXPECT_EQ(deviceGetError(&device), 0);
    return handle;
}

double length(const float (&transform)[8]) {
    double sum = 0;
    for (int i = 0; i < 4; ++i) {
        sum += static_cast<double>(transform[i]) * static_cast<double>(transform[i]);
    }
    return std::sqrt(sum);
}

} // namespace

TEST(Network, ResolvesNamesAndAddresses) {
    const struct {
        const char* host;
        bool connects;
    } cases[] = {
        {"127.0.0.1", true}, {"localhost", true},     {"999.1.1.1", false},
        {"no.such.", false}, {"1.2.3.4:8765", false}, {"255.255.255.255", false},
    };
    for (const auto& each : cases) {
        const DevicePtr device(deviceOpenNetwork(each.host, tcpPort()));
        EXPECT_EQ(device != nullptr, each.connects) << each.host;
        if (device) {
            EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
            EXPECT_STREQ(device->hostName, each.host);
            EXPECT_EQ(device->serialPort, -1);
        }
    }
    EXPECT_EQ(deviceOpenNetwork("127.0.0.1", 1), nullptr);
    EXPECT_EQ(deviceOpenNetwork(nullptr, tcpPort()), nullptr);
}

TEST(Network, StreamsOneTool) {
    const DevicePtr device = openNetwork();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
    const int handle = loadTool(*device);
    EXPECT_EQ(ask(*device, "TSTART:"), "OKAY");

    std::uint32_t last = 0;
    for (int frame = 0; frame < 20; ++frame) {
        const bool binary = frame % 2 == 0;
        deviceCommand(device.get(), binary ? "BX:180F" : "TX:1005");
        ASSERT_EQ(deviceGetError(device.get()), 0);
        float pose[8] = {};
        ASSERT_EQ(binary ? deviceBxTransform(device.get(), handle, pose)
                         : deviceTxTransformF(device.get(), handle, pose),
                  0);
        EXPECT_NEAR(length(pose), 1.0, 1e-3);
        const std::uint32_t number = binary ? deviceBxFrameNumber(device.get(), handle)
                                            : deviceTxFrameNumber(device.get(), handle);
        EXPECT_GE(number, last);
        last = number;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_GT(last, 1u);
    EXPECT_EQ(ask(*device, "TSTOP:"), "OKAY");
}

TEST(Network, ReaderThreadKeepsTheNewestReply) {
    const DevicePtr device = openNetwork();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
    const int handle = loadTool(*device);
    deviceSetThreadMode(device.get(), true);
    EXPECT_EQ(ask(*device, "TSTART:"), "OKAY");
    for (int frame = 0; frame < 10; ++frame) {
        deviceCommand(device.get(), "TX:1005");
        ASSERT_EQ(deviceGetError(device.get()), 0);
        double pose[8];
        EXPECT_EQ(deviceTxTransform(device.get(), handle, pose), 0);
        EXPECT_THAT(ask(*device, "VER:0"), testing::Not(StartsWith("VER")));
    }
    EXPECT_EQ(ask(*device, "TSTOP:"), "OKAY");
    deviceSetThreadMode(device.get(), false);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
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
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    deviceSetNetworkTimeout(device.get(), 20000);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
}

// The device closes the connection at VER; the next one is served.
TEST(NetworkFault, AClosedConnectionIsAnErrorOfEveryCommand) {
    DevicePtr device = openNetwork();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
    for (int i = 0; i < 5; ++i) {
        deviceCommand(device.get(), "VER:%d", i);
        EXPECT_THAT(deviceGetError(device.get()), AnyOf(0x400, 0x500, 0x600));
    }
    device = openNetwork();
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(ask(*device, "INIT:"), "OKAY");
}

#include "protocol/device.h"
#include "tests/protocol/CountedMemory.h"
#include "tests/protocol/RecordPtr.h"
#include "tests/protocol/posix/Terminal.h"

#include <gtest/gtest.h>

// Every allocation fails once; what was begun is undone, and the next attempt works.
TEST(Memory, MayRunOutAnywhere) {
    for (const bool isSerial : {false, true}) {
        ndisim::Simulator simulator(isSerial ? atTerminal() : ndisim::SimulatorOptions());
        simulator.start();
        const std::string address = simulator.address();
        RecordPtr device;
        int failures = 0;
        for (; !device && failures < 100; ++failures) {
            const Shortage shortage(failures);
            device.reset(isSerial ? deviceOpenSerial(address.c_str())
                                  : deviceOpenNetwork("127.0.0.1", simulator.port()));
        }
        ASSERT_TRUE(device);
        EXPECT_GT(failures, 4);
        for (failures = 0; !deviceGetThreadMode(device.get()) && failures < 100; ++failures) {
            const Shortage shortage(failures);
            deviceSetThreadMode(device.get(), true);
        }
        EXPECT_GT(failures, 6);
        EXPECT_STREQ(deviceCommand(device.get(), "BEEP:1"), "1");
        const std::size_t whole = deviceDumpState(device.get(), nullptr, 0);
        std::vector<char> text(2 * whole, 'x');
        std::size_t length = 0;
        for (failures = 0; length == 0 && failures < 100; ++failures) {
            EXPECT_TRUE(failures == 0 || text[0] == '\0');
            const Shortage shortage(failures);
            length = deviceDumpState(device.get(), text.data(), text.size());
        }
        EXPECT_EQ(length, whole);
        EXPECT_GT(failures, 4);
        const Shortage shortage(3);
        text.assign(text.size(), '\0');
        deviceDumpState(device.get(), text.data());
        EXPECT_EQ(text[0], '\0');
    }
}

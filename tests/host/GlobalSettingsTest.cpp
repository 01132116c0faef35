#include <stdexcept>

#include <gtest/gtest.h>

#include <morvalincore/GlobalSettings.h>

using namespace Morvalin;

TEST(GlobalSettings, ChangesAreWholeOrNotAtAll) {
    const Properties before = GlobalSettings::snapshot();
    EXPECT_THROW(GlobalSettings::modify([](Properties& settings) {
                     settings.addSubProperties("SerialPorts").setParam("COM1", "/dev/half");
                     throw std::runtime_error("half way");
                 }),
                 std::runtime_error);
    EXPECT_EQ(GlobalSettings::snapshot(), before);

    GlobalSettings::modify([](Properties& settings) {
        settings.addSubProperties("SerialPorts").setParam("COM1", "/dev/ttyUSB7");
    });
    std::string path;
    const Properties after = GlobalSettings::snapshot();
    ASSERT_NE(after.subProperties("SerialPorts"), nullptr);
    EXPECT_TRUE(after.subProperties("SerialPorts")->param("COM1", path));
    EXPECT_EQ(path, "/dev/ttyUSB7");
}

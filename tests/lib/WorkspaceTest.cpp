#include <morvalinlib/Workspace.h>

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvalincore/PropertiesXml.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

#include "tests/host/LogCapture.h"
#include "tests/lib/TemporaryFolder.h"

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Properties sample() {
    Properties root(Workspace::rootName);
    root.addSubProperties(Workspace::algorithmsName).addSubProperties("Lab.Reader");
    return root;
}

TEST(Workspace, ConversionsRunInOrderOnEveryLoadedFile) {
    const TemporaryFolder folder;
    // Conversions stay for the rest of the process; when this test is over, they do nothing.
    static bool isActive;
    isActive = true;
    const auto step = [](const std::string& name) {
        return [name](Properties& root, const std::string& path) {
            if (isActive && name == "explode")
                throw std::runtime_error("conversion failed");
            std::string before;
            root.param("steps", before);
            if (isActive)
                root.setParam("steps", before + name + " " + path + " ");
            return isActive;
        };
    };
    auto& registry = WorkspaceConversionRegistry::instance();
    registry.addConversion({"First step", 1, step("one")});
    registry.addConversion({"Second step", 2, step("two")});

    LogCapture log;
    Properties root;
    std::string error;
    std::string steps;
    const std::string path = folder.write("w.xml", toXml(sample()));
    ASSERT_TRUE(Workspace::load(path, root, error)) << error;
    EXPECT_TRUE(root.param("steps", steps));
    EXPECT_EQ(steps, "one " + path + " two " + path + " ");
    EXPECT_THAT(log.take(), ElementsAre("[2] Workspace: " + path + ": First step",
                                        "[2] Workspace: " + path + ": Second step"));

    registry.addConversion({"Third step", 3, step("explode")});
    EXPECT_FALSE(Workspace::load(path, root, error));
    EXPECT_THAT(error, HasSubstr("conversion failed"));
    isActive = false;
}

} // namespace
} // namespace Morvalin

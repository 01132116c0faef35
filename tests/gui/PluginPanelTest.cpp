#include "tests/gui/GuiRig.h"

#include <morvalingui/StreamControllerBase.h>
#include <morvalinlib/MorvalinLibPlugin.h>
#include <morvalinlib/PluginLoader.h>

namespace Morvalin {
namespace {

TEST(PluginPanel, EveryDeviceStreamHasOneAndNothingElse) {
    PluginLoader loader;
    std::string error;
    ASSERT_TRUE(loader.load(MODULE_FILE, error)) << error;
    auto& plugin = dynamic_cast<MorvalinLibPlugin&>(*loader.plugins().at(0).plugin);
    for (const auto& offered : loader.algorithms()) {
        SCOPED_TRACE(offered.id);
        const auto algorithm = loader.instantiate(offered.id);
        algorithm->compute();
        const auto controller = plugin.controllerFactory()->create(algorithm.get());
        auto* const panel = dynamic_cast<StreamControllerBase*>(controller.get());
        ASSERT_NE(panel, nullptr);
        EXPECT_STREQ(panel->metaObject()->className(), "Morvalin::NDITrackingController");
        controller->init();
        EXPECT_NE(buttonWith(*panel, "Open Connection"), nullptr);
    }
    HeldStream other(nullptr);
    EXPECT_EQ(plugin.controllerFactory()->create(&other), nullptr);
    EXPECT_EQ(plugin.controllerFactory()->create(nullptr), nullptr);
}

} // namespace
} // namespace Morvalin

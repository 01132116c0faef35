#pragma once

#include <memory>
#include <string>

#include <QMessageBox>

#include <morvalinlib/PluginLoader.h>

#include "simulator/Simulator.h"
#include "tests/gui/GuiRig.h"
#include "tests/lib/TemporaryFolder.h"
#include "window/MainWindow.h"
#include "window/StatusStrip.h"

namespace Morvalin::App {

constexpr const char* vega = "NDITracking.PolarisVegaTrackingStream";

/// A shown window with the real plug-in, used as a user does, and a simulated device.
class WindowRig : public testing::Test {
protected:
    WindowRig() {
        std::string error;
        EXPECT_TRUE(loader.load(NDI_PLUGIN, error)) << error;
        simulator.start();
        window = std::make_unique<MainWindow>(loader);
        window->show();
    }

    static ndisim::SimulatorOptions deviceOptions() {
        ndisim::SimulatorOptions options;
        options.device.family = ndisim::Family::Vega;
        options.device.strays = 3;
        return options;
    }

    /// A closed stream that is set to the simulated device, with one tool.
    StreamItem& add() {
        std::string error;
        StreamItem* const item = window->bench().add(vega, error);
        EXPECT_NE(item, nullptr) << error;
        Properties settings;
        settings.setParam("hardwareDevice", "127.0.0.1");
        settings.setParam("hardwarePort", static_cast<std::int32_t>(simulator.port()));
        Properties& tool = settings.addSubProperties("TrackingTargets").addSubProperties("a.rom");
        tool.setParam("Path", folder.writeTool("a.rom", "8700340"));
        tool.setParam("Port", 1);
        item->stream().configure(&settings);
        return *item;
    }

    std::vector<StreamItem*> streams() const { return window->bench().streams(); }

    /// The visible button of that text, pressed with the mouse.
    void press(const char* text) {
        QPushButton* found = nullptr;
        ASSERT_TRUE(waitUntil([&] {
            for (QPushButton* const button : window->findChildren<QPushButton*>())
                if (button->isVisible() && button->isEnabled() && button->text() == text)
                    found = button;
            return found != nullptr;
        })) << text;
        QTest::mouseClick(found, Qt::LeftButton);
    }

    /// The question or message that is shown; null for none.
    QMessageBox* message() const {
        for (QMessageBox* const box : window->findChildren<QMessageBox*>())
            if (box->isVisible())
                return box;
        return nullptr;
    }

    void answer(QMessageBox::StandardButton button) {
        ASSERT_TRUE(waitUntil([this] { return message() != nullptr; }));
        message()->button(button)->click();
        ASSERT_TRUE(waitUntil([this] { return message() == nullptr; }));
    }

    bool waitForStatus(const char* text) {
        return waitUntil(
            [&] { return window->strip()->status().contains(QString::fromUtf8(text)); });
    }
    bool waitForEnd() {
        return waitUntil([this] { return !window->isVisible(); });
    }
    bool waitUntilIdle() {
        return waitUntil([this] { return !window->workspaces().isBusy(); });
    }

    TemporaryFolder folder;
    ndisim::Simulator simulator{deviceOptions()};
    PluginLoader loader;
    std::unique_ptr<MainWindow> window;
};

} // namespace Morvalin::App

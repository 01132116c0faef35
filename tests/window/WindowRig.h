#pragma once

#include <fstream>
#include <memory>
#include <string>

#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvalinlib/PluginLoader.h>

#include "app/gui/MainWindow.h"
#include "app/gui/StatusStrip.h"
#include "simulator/Simulator.h"

namespace Morvalin::App {

constexpr const char* vega = "NDITracking.PolarisVegaTrackingStream";

/// Processes events until the condition holds; the limit only guards against a hang.
template <class Condition>
bool waitUntil(const Condition& condition) {
    return QTest::qWaitFor(condition, 60'000);
}

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
        tool.setParam("Path", toolFile());
        tool.setParam("Port", 1);
        item->stream().configure(&settings);
        return *item;
    }

    /// Any image will do for the simulator; the part number stands at byte 592.
    std::string toolFile() const {
        const std::string file = folder.filePath("a.rom").toStdString();
        std::ofstream(file, std::ios::binary)
            << std::string(592, 'x') + "8700340" + std::string(425, '\0');
        return file;
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

    QTemporaryDir folder;
    ndisim::Simulator simulator{deviceOptions()};
    PluginLoader loader;
    std::unique_ptr<MainWindow> window;
};

} // namespace Morvalin::App

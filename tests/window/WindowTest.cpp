// The window as a user sees it: menus, list, panel, states in words, the view.

#include <set>
#include <thread>

#include <QAbstractItemModelTester>
#include <QListView>
#include <QMenuBar>

#include <morvalingui/PropertiesWidget.h>
#include <morvalingui/TrackingInstrumentTable.h>

#include "tests/window/WindowRig.h"
#include "window/LogView.h"
#include "window/StreamList.h"
#include "window/VolumeCaptions.h"
#include "window/VolumeView.h"

namespace Morvalin::App {
namespace {

using namespace std::chrono_literals;

class Window : public WindowRig {
protected:
    /// The menu entry behind these texts; null when there is none.
    QAction* entry(const std::vector<const char*>& path) const {
        QWidget* menu = window->menuBar();
        QAction* found = nullptr;
        for (const char* const piece : path) {
            found = nullptr;
            for (QAction* const action : menu == nullptr ? QList<QAction*>() : menu->actions())
                if (action->text().remove(QLatin1Char('&')) == piece)
                    found = action;
            menu = found == nullptr ? nullptr : found->menu();
        }
        return found;
    }
};

TEST_F(Window, TheMenuAddsStreamsAndTheListShowsThePanelOfTheSelectedOne) {
    auto& list = *window->findChild<QListView*>();
    const QAbstractItemModelTester tester(list.model());
    for (const char* const name : {"Polaris Vega/Lyra", "Polaris Vega/Lyra", "Aurora"}) {
        QAction* const action = entry({"IO", "NDI Tracking", name});
        ASSERT_NE(action, nullptr) << name;
        action->trigger();
        EXPECT_EQ(window->current(), streams().back());
    }
    ASSERT_EQ(streams().size(), 3u);
    EXPECT_EQ(streams()[1]->label(), streams()[0]->label() + " 2");
    for (int row = 0; row < 3; ++row) {
        list.setCurrentIndex(list.model()->index(row, 0));
        for (const StreamItem* const item : streams())
            EXPECT_EQ(item->panel()->isVisible(), item == streams()[static_cast<size_t>(row)]);
    }
    window->select(streams()[1]);
    entry({"Stream", "Remove stream"})->trigger();
    ASSERT_TRUE(waitUntil([&] { return streams().size() == 2; }));
    ASSERT_TRUE(waitUntil([&] { return window->current() != nullptr; }));
    EXPECT_TRUE(waitUntil([&] { return window->current()->panel()->isVisible(); }));
}

TEST_F(Window, AUserOpensStartsLooksStopsAndCloses) {
    simulator.addFault("late=1500@INIT");
    add();
    const auto& properties = *window->findChild<PropertiesWidget*>();
    EXPECT_TRUE(waitForStatus("Closed"));
    EXPECT_EQ(properties.editor("maxRange"), nullptr) << "the device has not been asked";
    press("Open Connection");
    EXPECT_TRUE(waitForStatus("Opening … 0 s"));
    EXPECT_TRUE(window->strip()->isBusyShown());
    press("Initializing..."); // does nothing
    EXPECT_FALSE(properties.isEnabled() || buttonWith(*window, "Start")->isEnabled());
    EXPECT_TRUE(buttonWith(*window, "Add Tracker ...")->isEnabled());
    EXPECT_TRUE(waitForStatus("Opening … 1 s")) << "the time goes on while the device is silent";
    EXPECT_TRUE(waitForStatus("Open, not tracking"));
    EXPECT_FALSE(window->strip()->isBusyShown());
    EXPECT_FALSE(buttonWith(*window, "Add Tracker ...")->isEnabled());
    EXPECT_TRUE(waitUntil([&] { return properties.editor("maxRange") != nullptr; }));
    const QAbstractItemModel& table = *window->findChild<TrackingInstrumentTable*>()->model();
    const auto waitForState = [&](const char* text) {
        return waitUntil([&] { return table.index(0, 3).data().toString() == text; });
    };
    EXPECT_TRUE(waitForState("Not tracking"));
    press("Start");
    EXPECT_TRUE(waitForStatus("frames/s"));
    EXPECT_TRUE(waitForState("Tracked"));
    const VolumeModel& model = window->volume()->model();
    EXPECT_TRUE(waitUntil([&] { return model.strays().size() == 3; }));
    EXPECT_TRUE(waitUntil([&] { return !model.outline().empty(); }));
    ASSERT_EQ(model.instruments().size(), 1u);
    EXPECT_THAT(instrumentStateLine(model.instruments()[0]).toStdString(),
                testing::MatchesRegex("Tracked, quality 0\\.[0-9]+"));
    EXPECT_EQ(model.volumeText(), "Dome -950/-2400/0.35/580/-75/240");
    simulator.addFault("no-answer@BX");
    EXPECT_TRUE(waitForStatus("but no data"));
    EXPECT_TRUE(waitUntil([&] { return model.strays().empty(); })) << "nothing old is shown";
    EXPECT_FALSE(model.instruments()[0].isVisible());
    EXPECT_TRUE(waitForState("No data")) << "no pose is left standing as a new one";
    simulator.clearFaults();
    EXPECT_TRUE(waitForStatus("frames/s"));
    press("Stop");
    EXPECT_TRUE(waitForStatus("Open, not tracking"));
    press("Close Connection");
    EXPECT_TRUE(waitForStatus("Closed"));
    EXPECT_TRUE(waitUntil([&] { return buttonWith(*window, "Add Tracker ...")->isEnabled(); }));
}

TEST_F(Window, AFailureIsToldInWordsUntilTheNextAttempt) {
    add();
    simulator.unplug();
    press("Open Connection");
    EXPECT_TRUE(waitForStatus("opening failed"));
    EXPECT_TRUE(waitUntil([&] { return !window->strip()->remark().isEmpty(); }));
    EXPECT_EQ(window->strip()->remark(), "Connection could not be established!");
    simulator.replug();
    press("Open Connection");
    EXPECT_TRUE(waitForStatus("Open, not tracking"));
    EXPECT_NE(window->strip()->remark(), "Connection could not be established!");
}

TEST_F(Window, NobodyWaitsForAWindowThatDoesNothing) {
    StreamItem& item = add();
    item.bringUp(true);
    ASSERT_TRUE(waitForStatus("frames/s"));
    // No event is processed here, so nobody collects frames or answers notices.
    const std::uint64_t enough = item.mailbox().count() + FrameMailbox::capacity + 5;
    while (item.mailbox().count() < enough)
        std::this_thread::sleep_for(5ms);
    EXPECT_EQ(item.mailbox().take().size(), FrameMailbox::capacity);
}

TEST_F(Window, MouseAndKeysTurnAndZoomTheView) {
    add();
    VolumeView& view = *window->volume();
    QTest::qWait(10);
    const auto direction = [&] { return Eigen::Matrix3d(view.camera().axes()); };
    const Eigen::Matrix3d before = direction();
    const double distance = view.camera().distance();
    for (const auto& [key, opposite] :
         {std::pair{Qt::Key_Left, Qt::Key_Right}, {Qt::Key_Up, Qt::Key_Down}}) {
        QTest::keyClick(&view, key);
        EXPECT_FALSE(direction().isApprox(before));
        QTest::keyClick(&view, opposite);
        EXPECT_TRUE(direction().isApprox(before));
    }
    QTest::mousePress(&view, Qt::LeftButton, {}, {200, 200});
    QMouseEvent move(QEvent::MouseMove, {260, 230}, Qt::LeftButton, Qt::LeftButton, {});
    QWheelEvent wheel({200, 200}, {200, 200}, {}, {0, 240}, {}, {}, Qt::NoScrollPhase, false);
    for (QEvent* const event : {static_cast<QEvent*>(&move), static_cast<QEvent*>(&wheel)})
        QCoreApplication::sendEvent(&view, event);
    EXPECT_FALSE(direction().isApprox(before));
    EXPECT_LT(view.camera().distance(), distance);
    QTest::keyClick(&view, Qt::Key_Home);
    EXPECT_TRUE(direction().isApprox(before));
    EXPECT_DOUBLE_EQ(view.camera().distance(), distance);
}

TEST_F(Window, EverythingIsReachedByKeyboard) {
    const StreamItem& item = add();
    QApplication::setActiveWindow(window.get());
    std::set<const QWidget*> reached;
    for (int i = 0; i < 60; ++i) {
        QWidget* const focused = QApplication::focusWidget();
        reached.insert(focused);
        QTest::keyClick(focused == nullptr ? window.get() : focused, Qt::Key_Tab);
    }
    std::vector<const QWidget*> expected{window->volume(), window->findChild<QListView*>()};
    for (const QWidget* const area : {item.panel(), static_cast<QWidget*>(window->log())})
        for (const QPushButton* const button : area->findChildren<QPushButton*>())
            if (button->isEnabled())
                expected.push_back(button);
    EXPECT_GE(expected.size(), 6u);
    for (const QWidget* const widget : expected)
        EXPECT_EQ(reached.count(widget), 1u) << widget->metaObject()->className();
}

} // namespace
} // namespace Morvalin::App

#include "gui/NDITrackingController.h"
#include "tests/gui/GatedStream.h"
#include "tests/gui/GuiRig.h"
#include "tests/host/LogCapture.h"

#include <QLineEdit>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Panel : public testing::Test {
protected:
    Panel() {
        panel->init();
        panel->show();
        QApplication::setActiveWindow(panel.get());
    }
    std::int32_t shownPort() const {
        std::int32_t port = 0;
        panel->propertiesWidget()->properties().param("port", port);
        return port;
    }
    LogCapture log;
    GatedStream stream;
    HeldStream algorithm{&stream};
    std::unique_ptr<NDITrackingController> panel =
        std::make_unique<NDITrackingController>(&algorithm);
};

TEST_F(Panel, ToolsOfAnotherStreamCannotBeAdded) {
    log.take();
    const int asked = stream.timesAsked;
    QTest::mousePress(buttonWith(*panel, "Add Tracker ..."), Qt::LeftButton);
    EXPECT_THAT(log.take(), ElementsAre("[3] NDITrackingController: Tool registration only "
                                        "available for Polaris and Aurora tracking systems."));
    QMetaObject::invokeMethod(panel.get(), "onValueChanged"); // nobody's
    EXPECT_EQ(stream.timesAsked, asked + 1);
}

TEST_F(Panel, AnEditReachesTheStreamAloneAndShowsWhatBecameOfIt) {
    stream.port = 99; // changed since the panel looked
    for (const auto& [typed, shown] : {std::pair{"5.6.7.8", "5.6.7.8"}, {"COM10", ""}}) {
        auto* const line = qobject_cast<QLineEdit*>(panel->propertiesWidget()->editor("address"));
        line->setFocus();
        line->selectAll();
        QTest::keyClicks(line, typed);
        QTest::keyClick(line, Qt::Key_Return);
        EXPECT_EQ(line->text(), shown);
        ASSERT_THAT(stream.received, testing::Not(IsEmpty()));
        ASSERT_EQ(stream.received.back().params().size(), 1U);
        EXPECT_EQ(stream.received.back().params()[0].value, typed);
    }
    EXPECT_EQ(stream.received.size(), 2U);
    EXPECT_EQ(shownPort(), 99);
}

TEST_F(Panel, AStreamThatIsSlowToAnswerDoesNotHoldUpTheWindow) {
    stream.port = 1;
    std::unique_lock answer(stream.gate);
    panel->updatePropertiesWidget();
    EXPECT_FALSE(panel->propertiesWidget()->isEnabled());
    panel->updatePropertiesWidget(); // a newer question
    const int asked = stream.timesAsked;
    answer.unlock();
    EXPECT_TRUE(waitUntil([&] { return panel->propertiesWidget()->isEnabled(); }));
    EXPECT_EQ(shownPort(), 1);
    EXPECT_EQ(stream.timesAsked, asked + 1);
}

TEST_F(Panel, ButtonsSayThatTheStreamIsClosing) {
    const auto waitFor = [&](const char* text) {
        return waitUntil([&] { return buttonWith(*panel, text) != nullptr; });
    };
    EXPECT_TRUE(stream.open() && stream.start());
    ASSERT_TRUE(waitFor("Close Connection") && waitFor("Stop"));
    std::unique_lock end(stream.gate);
    QTest::mousePress(buttonWith(*panel, "Close Connection"), Qt::LeftButton);
    EXPECT_TRUE(waitFor("Closing...") && waitFor("Start"));
    EXPECT_FALSE(buttonWith(*panel, "Start")->isEnabled());
    end.unlock();
    EXPECT_TRUE(waitFor("Open Connection"));
}

TEST(PanelOfAnotherStream, StaysEmpty) {
    LogCapture log;
    HeldStream algorithm(nullptr);
    NDITrackingController panel(&algorithm);
    panel.init();
    EXPECT_THAT(log.take(), ElementsAre("[4] NDITrackingController: Input stream must be a "
                                        "FakeTrackingStream"));
    EXPECT_THAT(panel.children(), IsEmpty());
    for (const char* slot : {"updateGUI", "onValueChanged", "onParameterChanged"})
        EXPECT_TRUE(QMetaObject::invokeMethod(&panel, slot));
}

} // namespace
} // namespace Morvalin

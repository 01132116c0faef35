#include "gui/NDITrackingController.h"
#include "tests/gui/GatedStream.h"
#include "tests/gui/GuiRig.h"
#include "tests/host/LogCapture.h"

#include <QLineEdit>

#include <thread>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Panel : public testing::Test {
protected:
    Panel() {
        panel->show();
        QApplication::setActiveWindow(panel.get());
    }
    /// What the buttons say, and whether parameters can be edited.
    std::string looks() const {
        std::string texts;
        for (const QPushButton* button : {connection, start, add})
            texts += button->text().toStdString() + (button->isEnabled() ? ", " : " (off), ");
        return texts + (panel->propertiesWidget()->isEnabled() ? "editable" : "locked");
    }
    std::int32_t shownPort() const {
        std::int32_t port = 0;
        panel->propertiesWidget()->properties().param("port", port);
        return port;
    }
    /// Presses without releasing; how often the stream was asked for its configuration.
    int press(QPushButton* button) {
        const int asked = stream.timesAsked;
        QTest::mousePress(button, Qt::LeftButton);
        return stream.timesAsked - asked;
    }
    bool reaches(Stream::State state) {
        const bool isReached = waitUntil([&] { return stream.state() == state; });
        QCoreApplication::sendPostedEvents();
        return isReached;
    }

    LogCapture log;
    GatedStream stream;
    HeldStream algorithm{&stream};
    std::unique_ptr<NDITrackingController> panel =
        std::make_unique<NDITrackingController>(&algorithm);
    QPushButton* connection = (panel->init(), buttonWith(*panel, "Open Connection"));
    QPushButton* start = buttonWith(*panel, "Start");
    QPushButton* add = buttonWith(*panel, "Add Tracker ...");
};

TEST_F(Panel, FollowsTheStreamThroughAllStates) {
    const char* const open = "Close Connection, Start, Add Tracker ... (off), editable";
    const char* const running = "Close Connection, Stop, Add Tracker ... (off), editable";
    const char* const closed = "Open Connection, Start (off), Add Tracker ..., editable";
    const struct {
        bool (Stream::*operation)();
        Stream::State passing;
        const char* meanwhile;
        Stream::State end;
        const char* after;
    } table[] = {
        {&Stream::open, Stream::Opening, "Initializing..., Start (off), Add Tracker ..., locked",
         Stream::Open, open},
        {&Stream::start, Stream::Starting, running, Stream::Running, running},
        {&Stream::stop, Stream::Stopping, open, Stream::Open, open},
        {&Stream::close, Stream::Closing, "Closing..., Start (off), Add Tracker ..., locked",
         Stream::Closed, closed},
    };
    EXPECT_EQ(looks(), closed);
    for (const auto& row : table) {
        SCOPED_TRACE(row.meanwhile);
        stream.hookGate = true;
        std::thread operation([&] { (stream.*row.operation)(); });
        EXPECT_TRUE(reaches(row.passing));
        EXPECT_EQ(looks(), row.meanwhile);
        ++stream.port; // what a stream finds out while it opens
        const int asked = stream.timesAsked;
        QMetaObject::invokeMethod(panel.get(), "updateGUI");
        EXPECT_EQ(stream.timesAsked,
                  asked + (row.passing == Stream::Starting || row.passing == Stream::Stopping));
        GatedStream::set(stream.hookGate, false);
        operation.join();
        EXPECT_TRUE(reaches(row.end));
        EXPECT_EQ(looks(), row.after);
        EXPECT_EQ(shownPort(), stream.port);
    }
}

TEST_F(Panel, ButtonsActWhenPressedAndRefreshOnce) {
    stream.hookGate = true;
    press(connection);
    EXPECT_TRUE(reaches(Stream::Opening));
    EXPECT_EQ(press(connection), 0); // once more while it opens
    GatedStream::set(stream.hookGate, false);
    EXPECT_TRUE(reaches(Stream::Open));
    EXPECT_EQ(press(start), 1);
    EXPECT_TRUE(reaches(Stream::Running));
    EXPECT_EQ(press(start), 1);
    EXPECT_TRUE(reaches(Stream::Open));
    press(connection);
    EXPECT_TRUE(reaches(Stream::Closed));
    EXPECT_EQ(stream.timesOpened, 1);
    log.take();
    EXPECT_EQ(press(add), 1);
    EXPECT_THAT(log.take(), ElementsAre("[3] NDITrackingController: Tool registration only "
                                        "available for Polaris and Aurora tracking systems."));
    const int asked = stream.timesAsked;
    QMetaObject::invokeMethod(panel.get(), "onValueChanged"); // nobody's
    EXPECT_EQ(stream.timesAsked, asked);
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
    stream.answerGate = true;
    stream.port = 1;
    panel->updatePropertiesWidget();
    EXPECT_FALSE(panel->propertiesWidget()->isEnabled());
    panel->updatePropertiesWidget(); // a newer question
    const int asked = stream.timesAsked;
    GatedStream::set(stream.answerGate, false);
    EXPECT_TRUE(waitUntil([&] { return panel->propertiesWidget()->isEnabled(); }));
    EXPECT_EQ(shownPort(), 1);
    EXPECT_EQ(stream.timesAsked, asked + 1);
}

TEST_F(Panel, MayBeDestroyedWhileTheStreamChangesStateAndEmits) {
    std::atomic<bool> isEnding = false;
    std::thread operations([&] {
        while (!isEnding)
            (stream.open() && stream.start() && stream.close()) || (isEnding = true);
    });
    for (int i = 0; i < 40; ++i) {
        panel = std::make_unique<NDITrackingController>(&algorithm);
        panel->init();
        panel->show();
        QTest::qWait(i % 4);
    }
    panel.reset();
    EXPECT_FALSE(isEnding.exchange(true));
    operations.join();
    EXPECT_EQ(stream.stateChanged.num_slots() + stream.instrumentsChanged.num_slots(), 0U);
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

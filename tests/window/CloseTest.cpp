// The window is closed and streams are removed while a device is busy, slow or dead: nothing hangs,
// nothing is used after it was destroyed, no connection is left open.

#include <thread>

#include "tests/window/WindowRig.h"
#include "window/Pages.h"
#include "window/VolumeView.h"

namespace Morvalin::App {
namespace {

/// How far a stream is brought, and then what the device does.
enum class Situation { Closed, Open, Running, Opening, Closing, Dead };

class InSituation : public WindowRig, public testing::WithParamInterface<Situation> {
protected:
    void SetUp() override {
        Stream& stream = add().stream();
        switch (GetParam()) {
        case Situation::Closed:
            return;
        case Situation::Opening:
            simulator.addFault("late=1500@INIT");
            stream.openAsync();
            ASSERT_TRUE(waitUntil([&] { return stream.state() == Stream::Opening; }));
            return;
        case Situation::Open:
            ASSERT_TRUE(stream.open());
            return;
        default:
            ASSERT_TRUE(stream.open() && stream.start());
        }
        ASSERT_TRUE(waitForStatus("frames/s"));
        if (GetParam() == Situation::Dead)
            simulator.halfOpen();
        if (GetParam() == Situation::Closing) {
            simulator.addFault("late=1500@TSTOP");
            stream.closeAsync();
        }
    }
};

TEST_P(InSituation, TheWindowIsClosed) {
    window->close();
    answer(QMessageBox::Cancel);
    EXPECT_TRUE(window->isVisible() && !window->workspaces().isBusy());
    const std::uint64_t before = streams().front()->mailbox().count();
    if (GetParam() == Situation::Running) {
        EXPECT_TRUE(waitUntil([&] { return streams().front()->mailbox().count() > before + 20; }));
    }
    window->close();
    answer(QMessageBox::Discard);
    if (streams().size() == 1 && streams().front()->stream().state() == Stream::Opening) {
        const auto& page = *window->findChild<ClosingPage*>();
        ASSERT_TRUE(waitUntil([&] { return page.isVisible(); }));
        EXPECT_THAT(page.text().toStdString(), testing::HasSubstr("waiting for the device"));
        EXPECT_FALSE(window->close()) << "closing once more changes nothing";
    }
    EXPECT_TRUE(waitForEnd());
    EXPECT_TRUE(streams().empty());
}

TEST_P(InSituation, TheShownStreamIsRemoved) {
    window->removeCurrent();
    if (GetParam() != Situation::Closed)
        answer(QMessageBox::Yes);
    EXPECT_EQ(window->volume()->stream(), nullptr);
    EXPECT_TRUE(waitUntil([&] { return streams().empty(); }));
    EXPECT_TRUE(window->isVisible());
}

TEST_P(InSituation, TheWindowIsDestroyedAndNobodyProcessesEvents) {
    window.reset();
    const bool isDeaf = GetParam() == Situation::Dead; // and does not hear of the end
    EXPECT_TRUE(isDeaf || waitUntil([&] { return !simulator.hasClient(); }));
}

TEST_P(InSituation, TheProgramIsAskedToEnd) {
    window->closeWithoutAsking();
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(message(), nullptr);
}

std::string nameOf(const testing::TestParamInfo<Situation>& tested) {
    const char* const names[] = {"Closed", "Open", "Running", "Opening", "Closing", "Dead"};
    return names[static_cast<std::size_t>(tested.param)];
}

INSTANTIATE_TEST_SUITE_P(Window, InSituation,
                         testing::Values(Situation::Closed, Situation::Open, Situation::Running,
                                         Situation::Opening, Situation::Closing, Situation::Dead),
                         nameOf);

using Closing = WindowRig;

TEST_F(Closing, AStreamThatIsToStartByItselfDoesNotStartAnyMore) {
    simulator.addFault("late=1000@INIT");
    StreamItem& item = add();
    item.bringUp(true);
    ASSERT_TRUE(waitUntil([&] { return item.stream().state() == Stream::Opening; }));
    window->closeWithoutAsking();
    EXPECT_TRUE(waitForEnd());
    EXPECT_THAT(simulator.commands(),
                testing::Not(testing::Contains(testing::StartsWith("TSTART"))));
}

TEST_F(Closing, EndedWhileADialogOfThePanelIsOpen) {
    std::string error;
    ASSERT_NE(window->bench().add("NDITracking.AuroraTrackingStream", error), nullptr) << error;
    QTimer::singleShot(200, window.get(), [this] { window->closeWithoutAsking(); });
    press("Add Tracker ..."); // returns when the dialog is over
    EXPECT_TRUE(waitForEnd());
}

} // namespace
} // namespace Morvalin::App

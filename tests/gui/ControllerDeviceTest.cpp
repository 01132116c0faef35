#include "gui/NDITrackingController.h"
#include "simulator/Path.h"
#include "tests/gui/GuiRig.h"
#include "tests/streams/Rig.h"

#include <morvalingui/TrackingInstrumentTable.h>

#include <QComboBox>

namespace Morvalin {
namespace {

enum Column { Active, Main, Instrument, State, Quality, Position, Type };

/// A panel on a stream that is set to a simulated device.
template <int N>
struct DevicePanel {
    explicit DevicePanel(ndisim::DeviceOptions options = {}) : rig(std::move(options)) {
        panel->init();
        panel->show();
        QApplication::setActiveWindow(panel.get());
    }
    /// Presses a button once it shows that text.
    void press(const char* text) {
        QPushButton* button = nullptr;
        ASSERT_TRUE(waitUntil([&] { return (button = buttonWith(*panel, text)) != nullptr; }))
            << text;
        QTest::mouseClick(button, Qt::LeftButton);
    }
    void expectTable(Column column, const Lines& expected) const {
        const QAbstractItemModel& model =
            *panel->template findChild<TrackingInstrumentTable*>()->model();
        Lines texts;
        EXPECT_TRUE(waitUntil([&] {
            texts.clear();
            for (int row = 0; row < model.rowCount(); ++row)
                texts.push_back(
                    model.index(row, column).data().toString().simplified().toStdString());
            return texts == expected;
        })) << testing::PrintToString(texts);
    }
    std::string positionOnPath(ndisim::Family family, int place) const {
        const auto at = ndisim::pathPose(family, place, rig.simulator.frameNumber()).position;
        return QString::asprintf("%.1f %.1f %.1f", at[0], at[1], at[2]).toStdString();
    }
    QComboBox* choice(const char* key) const {
        return qobject_cast<QComboBox*>(panel->propertiesWidget()->editor(key));
    }

    Rig<N> rig;
    HeldStream algorithm{&rig.stream};
    std::unique_ptr<NDITrackingController> panel =
        std::make_unique<NDITrackingController>(&algorithm);
};

TEST(PanelWithDevice, OpticalSessionFromFileToClose) {
    DevicePanel<Vega> session;
    FileAnswers files({QString::fromStdString(session.rig.folder.writeTool("one.rom", "101")),
                       QString::fromStdString(session.rig.folder.writeTool("two.rom", "102"))});
    session.press("Add Tracker ...");
    session.press("Add Tracker ...");
    EXPECT_EQ(session.choice("maxRange"), nullptr); // the device has not been asked
    session.press("Open Connection");
    session.expectTable(Instrument, {"101 (one.rom)", "102 (two.rom)"});
    session.press("Start");
    EXPECT_GT(session.choice("maxRange")->count(), 0);
    for (int frame = 0; frame < 3; ++frame) {
        session.rig.nextFrame();
        session.expectTable(Position, {session.positionOnPath(ndisim::Family::Vega, 1),
                                       session.positionOnPath(ndisim::Family::Vega, 2)});
    }
    session.rig.simulator.withDevice([](ndisim::Device& device) {
        device.setToolStates({ndisim::parseToolState("2:disabled")});
    });
    session.rig.nextFrame();
    session.expectTable(State, {"Tracked", "Disabled"});
    session.expectTable(State, {"No data", "Disabled"}); // no pose is left standing as a new one
    session.press("Stop");
    session.expectTable(State, {"Not tracking", "Disabled"});
    session.press("Close Connection");
    session.expectTable(Instrument, {});
    session.press("Open Connection");
    session.expectTable(State, {"Not tracking", "Not tracking"});
    session.panel.reset(); // while the stream is open
}

TEST(PanelWithDevice, AuroraOnASerialLine) {
    ndisim::DeviceOptions device;
    device.tools.push_back(ndisim::parseWiredTool("2:probe:610"));
    DevicePanel<Aurora> session(device);
    const auto choose = [&](Qt::Key key) {
        QTest::keyClick(session.choice("measurementRate"), key);
        return session.choice("measurementRate")->currentText();
    };
    EXPECT_EQ(choose(Qt::Key_Up), "57600");
    session.press("Open Connection");
    session.expectTable(Type, {"Probe"});
    session.press("Start");
    EXPECT_EQ(session.rig.simulator.link().rateCode, '4');
    EXPECT_EQ(choose(Qt::Key_Down), "57600"); // refused while it is open: jumps back
    session.rig.nextFrame();
    session.expectTable(Position, {session.positionOnPath(ndisim::Family::Aurora, 2)});
    session.press("Close Connection");
    session.expectTable(Type, {});
}

} // namespace
} // namespace Morvalin

#include "gui/NDITrackingController.h"
#include "gui/ROMLoadingDialog.h"
#include "tests/gui/GuiRig.h"
#include "tests/streams/Rig.h"

#include <QLineEdit>
#include <QSpinBox>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A closed stream of a family and its panel.
template <int N>
struct FamilyPanel {
    FamilyPanel() { open(); }
    void open() {
        panel = std::make_unique<NDITrackingController>(&algorithm);
        panel->init();
        log.take();
    }
    /// From the event loop, since the panel may be gone before this returns.
    void pressAdd() {
        QMetaObject::invokeMethod(buttonWith(*panel, "Add Tracker ..."), "pressed",
                                  Qt::QueuedConnection);
        QCoreApplication::sendPostedEvents();
    }
    /// The registered tools as "name|path|port".
    Lines tools() {
        Properties configuration;
        stream.configuration(&configuration);
        Lines lines;
        for (const Properties& tool : configuration.subProperties("TrackingTargets")->children())
            lines.push_back(tool.name() + "|" + tool.params()[0].value + "|" +
                            tool.params()[1].value);
        return lines;
    }
    Lines labels() const {
        Lines texts;
        for (const QLabel* label : panel->template findChildren<QLabel*>(QString()))
            if (label->text().startsWith("Instrument Geometry"))
                texts.push_back(label->text().toStdString());
        return texts;
    }

    LogCapture log;
    PolarisAuroraTrackingStream<N> stream;
    HeldStream algorithm{&stream};
    std::unique_ptr<NDITrackingController> panel;
};

TEST(PanelOfADevice, ListsTheConfiguredTools) {
    FamilyPanel<Vega> family;
    Properties saved;
    Properties& targets = saved.addSubProperties("TrackingTargets");
    targets.addSubProperties("no path").setParam("Port", 4);
    targets.addSubProperties("<b>b</b>.rom").setParam("Path", "/b.rom");
    family.stream.configure(&saved);
    family.open();
    EXPECT_THAT(family.labels(), ElementsAre("Instrument Geometry: <b>b</b>.rom"));

    EXPECT_TRUE(family.panel->propertiesWidget()->splitsCamelCase());

    // Slots are also found by their index.
    const QMetaObject& meta = NDITrackingController::staticMetaObject;
    int index = meta.methodOffset();
    for (const char* slot : {"setupGUI()", "updateGUI()", "onValueChanged()"})
        EXPECT_EQ(meta.method(index++).methodSignature(), slot);
}

TEST(OpticalPanel, RegistersWhateverTheFileDialogGives) {
    FamilyPanel<Vicra> family;
    FileAnswers files({"/tools/a.rom", ""});
    family.pressAdd();
    family.pressAdd();
    ASSERT_EQ(files.requests.size(), 2U);
    EXPECT_EQ(files.requests[0].parent, family.panel.get());
    EXPECT_EQ(files.requests[0].category + "|" + files.requests[0].caption + "|" +
                  files.requests[0].filter,
              "Tracker|Select Geometry file|Geometry files (*.rom)");
    const Lines tools{"a.rom|/tools/a.rom|1", "||1"};
    EXPECT_EQ(family.tools(), tools);
    EXPECT_THAT(family.labels(),
                ElementsAre("Instrument Geometry: a.rom", "Instrument Geometry: "));

    const auto before = QtHelpers::setOpenFilenameHook([&](const auto&) {
        family.panel.reset(); // the stream was removed while the dialog was shown
        return QString("/tools/c.rom");
    });
    family.pressAdd();
    QtHelpers::setOpenFilenameHook(before);
    EXPECT_EQ(family.tools(), tools);
}

TEST(AuroraPanel, RegistersAFileThatExistsForItsPort) {
    const TemporaryFolder folder;
    const std::string file = folder.writeTool("probe.rom", "1");
    const struct {
        std::string file;
        int port;
        enum { Accepted, Rejected, PanelGone } left;
        bool isRegistered;
    } table[] = {
        {file, 7, table->Accepted, true},
        {file, 16, table->Rejected, true}, // how the dialog was left does not matter
        {folder.path / "missing.rom", 2, table->Accepted, false},
        {file, 2, table->PanelGone, false},
    };
    FamilyPanel<Aurora> family;
    Lines tools;
    Lines labels;
    for (const auto& row : table) {
        SCOPED_TRACE(row.file);
        whenModal<ROMLoadingDialog>([&](ROMLoadingDialog& dialog) {
            dialog.findChild<QLineEdit*>()->setText(QString::fromStdString(row.file));
            dialog.findChild<QSpinBox*>()->setValue(row.port);
            if (row.left == row.PanelGone)
                family.panel.reset();
            dialog.done(row.left == row.Rejected ? QDialog::Rejected : QDialog::Accepted);
        });
        family.pressAdd();
        const Lines log = family.log.take(2);
        if (row.isRegistered) {
            const std::string port = std::to_string(row.port);
            tools.push_back("probe.rom|" + file + "|" + port);
            labels.push_back("Instrument Geometry: probe.rom   Port: " + port);
            EXPECT_EQ(log.back(),
                      "[2] NDITrackingController: Loaded rom file : " + file + "For port: " + port);
        } else if (family.panel) {
            EXPECT_THAT(log, ElementsAre("[4] NDITrackingController: Failed to add instrument "
                                         "geometry"));
        }
        EXPECT_EQ(family.tools(), tools);
        EXPECT_TRUE(!family.panel || family.labels() == labels);
    }
    family.open();
    EXPECT_EQ(family.labels(), labels);
}

} // namespace
} // namespace Morvalin

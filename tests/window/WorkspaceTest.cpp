// Workspaces are opened, saved and left through the window, and nothing is lost on the way.

#include <fstream>

#include <QFile>
#include <QLineEdit>

#include <morvalingui/PropertiesWidget.h>
#include <morvalinlib/Workspace.h>

#include "session/SavedSettings.h"
#include "tests/window/WindowRig.h"

namespace Morvalin::App {
namespace {

using Parameters = std::vector<std::pair<std::string, std::string>>;

class Workspaces : public WindowRig {
protected:
    Workspaces() {
        window->workspaces().setSaveFileChooser(
            [this](QWidget*, const QString&) { return QString::fromStdString(chosen); });
    }

    std::string path(const char* name) const { return folder.path / name; }

    /// Writes and opens a workspace with one block, which has the simulated device and these.
    std::string open(const std::string& id, const Parameters& parameters) {
        Properties root(Workspace::rootName);
        root.addSubProperties("Theatre").setParam("number", 2);
        Properties& block = root.addSubProperties(Workspace::algorithmsName).addSubProperties(id);
        block.setParam("hardwareDevice", "127.0.0.1");
        block.setParam("hardwarePort", static_cast<std::int32_t>(simulator.port()));
        for (const auto& [key, value] : parameters)
            block.setParam(key, value);
        std::string error;
        EXPECT_TRUE(Workspace::save(path("w.xml"), root, error)) << error;
        window->workspaces().openFile(QString::fromStdString(path("w.xml")));
        return path("w.xml");
    }

    static Properties read(const std::string& file) {
        Properties root;
        std::string error;
        EXPECT_TRUE(Workspace::load(file, root, error)) << error;
        return root;
    }
    static std::string saved(const std::string& file, const char* key) {
        const Properties root = read(file);
        const auto& blocks = root.subProperties(Workspace::algorithmsName)->children();
        std::string text;
        EXPECT_TRUE(!blocks.empty() && blocks.front().param(key, text)) << key;
        return text;
    }

    bool waitForStream(Stream::State state) {
        return waitUntil(
            [&] { return streams().size() == 1 && streams().front()->stream().state() == state; });
    }

    /// As a user does, in the panel.
    void editDevice(const char* device) {
        auto& properties = *window->findChild<PropertiesWidget*>();
        ASSERT_TRUE(waitUntil([&] { return properties.editor("hardwareDevice") != nullptr; }));
        auto& line = dynamic_cast<QLineEdit&>(*properties.editor("hardwareDevice"));
        line.setFocus();
        line.selectAll();
        QTest::keyClicks(&line, QString::fromUtf8(device));
        QTest::keyClick(&line, Qt::Key_Return);
        ASSERT_TRUE(waitUntil([&] { return window->isWindowModified(); }));
    }

    bool waitForSaved() {
        return waitUntil([&] { return !window->bench().isSaving(); });
    }

    std::string chosen; ///< answer of the save dialog
};

TEST_F(Workspaces, StreamsThatAskForItOpenAndStartAndThatIsNoChange) {
    struct {
        const char* open;
        const char* start;
        Stream::State state;
    } const cases[] = {{"true", "true", Stream::Running},
                       {"1", "false", Stream::Open},
                       {"false", "true", Stream::Closed}};
    for (const auto& expected : cases) {
        open(vega, {{"open", expected.open}, {"start", expected.start}});
        EXPECT_TRUE(waitForStream(expected.state)) << expected.open << expected.start;
        ASSERT_TRUE(waitUntilIdle());
        QTest::qWait(100);
        EXPECT_FALSE(window->isWindowModified());
    }
}

TEST_F(Workspaces, UnsavedChangesAreAskedFor) {
    struct {
        QMessageBox::StandardButton answer;
        bool isGone;
        const char* saved;
    } const cases[] = {{QMessageBox::Cancel, false, "127.0.0.1"},
                       {QMessageBox::Save, true, "127.0.0.9"},
                       {QMessageBox::Discard, true, "127.0.0.1"}};
    for (const auto& expected : cases) {
        const std::string file = open(vega, {});
        ASSERT_TRUE(waitForStream(Stream::Closed));
        editDevice("127.0.0.9");
        window->workspaces().startNew();
        answer(expected.answer);
        ASSERT_TRUE(waitUntilIdle());
        EXPECT_EQ(streams().empty(), expected.isGone);
        EXPECT_EQ(saved(file, "hardwareDevice"), expected.saved);
        window->workspaces().leave(WorkspaceActions::Ask::Never, [] {});
        ASSERT_TRUE(waitUntil([&] { return streams().empty(); }));
    }
}

TEST_F(Workspaces, SavingWaitsForAStreamThatIsOpeningAndKeepsWhatTheDeviceSetUp) {
    simulator.addFault("late=1000@INIT");
    const std::string file = open(vega, {{"open", "1"}, {"start", "1"}});
    ASSERT_TRUE(waitForStream(Stream::Opening));
    chosen = path("copy.xml");
    window->workspaces().saveAs();
    EXPECT_TRUE(window->bench().isSaving());
    EXPECT_FALSE(QFile::exists(QString::fromStdString(chosen)));
    ASSERT_TRUE(waitForSaved());
    EXPECT_EQ(saved(chosen, "open"), "1");
    EXPECT_EQ(saved(chosen, "maxRange"), "0") << "known to an open device only";
    EXPECT_NE(read(chosen).subProperties("Theatre"), nullptr) << "the rest of the file stays";
    EXPECT_EQ(window->bench().path(), chosen);
}

TEST_F(Workspaces, LeftBySavingToAFileThatIsNamedBefore) {
    add();
    window->workspaces().saveAtEnd(QString::fromStdString(path("no/such/folder.xml")));
    window->close();
    answer(QMessageBox::Ok);
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_TRUE(window->isVisible()) << "nothing is lost when it cannot be written";
    EXPECT_TRUE(window->workspaces().hasFailedToSave());
    window->workspaces().saveAtEnd(QString::fromStdString(path("end.xml")));
    window->close();
    EXPECT_TRUE(waitForEnd());
    EXPECT_FALSE(window->workspaces().hasFailedToSave());
    EXPECT_EQ(saved(path("end.xml"), "hardwareDevice"), "127.0.0.1");
}

TEST_F(Workspaces, WhatCannotBeReadIsToldAndCostsNothing) {
    open("Elsewhere.Camera", {}); // a block that nobody understands
    ASSERT_TRUE(waitUntil([&] { return message() != nullptr; }));
    EXPECT_THAT(message()->informativeText().toStdString(), testing::HasSubstr("Elsewhere.Camera"));
    answer(QMessageBox::Ok);
    open(vega, {{"measurementRate", "fast"}});
    ASSERT_TRUE(waitUntil([&] { return message() != nullptr; }));
    EXPECT_THAT(message()->informativeText().toStdString(),
                testing::ContainsRegex("w.xml:[0-9]+: .*measurementRate=fast"));
    answer(QMessageBox::Ok);
    add();
    std::ofstream(path("bad.xml")) << "<block name=";
    for (const char* const file : {"bad.xml", "missing.xml"}) {
        window->workspaces().openFile(QString::fromStdString(path(file)));
        ASSERT_TRUE(waitUntil([&] { return message() != nullptr; }));
        EXPECT_THAT(message()->informativeText().toStdString(), testing::HasSubstr(file));
        answer(QMessageBox::Ok);
        EXPECT_EQ(streams().size(), 1u);
    }
}

TEST(SavedSettings, ToolsAndWhatAPersonHasChosenCount) {
    Properties saved;
    saved.setParam("main", "");
    Properties now;
    now.setParam("main", "probe");
    now.setParamAttribute("main", "hidden", "true");
    EXPECT_FALSE(differsFrom(saved, now)) << "the device has filled it in";
    saved.setParam("main", "x");
    EXPECT_TRUE(differsFrom(saved, now)) << "somebody has chosen another";
    saved.setParam("main", "probe");
    for (const auto& [written, expected] : {std::pair{"1", false}, {"true", false}, {"0", true}}) {
        saved.setParam("flag", written);
        now.setParam("flag", true);
        EXPECT_EQ(differsFrom(saved, now), expected) << written;
    }
    saved.setParam("flag", true);
    now.addSubProperties("TrackingTargets").addSubProperties("tool.rom");
    EXPECT_TRUE(differsFrom(saved, now)) << "a tool was added";
    saved = now;
    now.subProperties("TrackingTargets")->clear();
    EXPECT_TRUE(differsFrom(saved, now)) << "a tool was removed";
}

} // namespace
} // namespace Morvalin::App

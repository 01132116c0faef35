#include "gui/ROMLoadingDialog.h"
#include "tests/gui/GuiRig.h"

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QSpinBox>

namespace Morvalin {
namespace {

using testing::ElementsAre;

TEST(OpenFilename, StartsInTheFolderLastUsedForTheCategory) {
    FileAnswers files({"/one/a.rom", "", "/two/b.rom", "/three/c.xml", ""});
    std::vector<std::string> starts;
    for (const auto& [category, start] : {std::pair{"Tools", ""},
                                          {"Tools", ""},
                                          {"Tools", "/given"},
                                          {"Other", ""},
                                          {"Tools", ""}}) {
        QtHelpers::getOpenFilename(nullptr, category, "Caption", "Any (*)", nullptr, start);
        starts.push_back(files.requests.back().start.toStdString());
    }
    const auto full = [](const char* folder) { // with a drive, where there are drives
        return QFileInfo(folder).absoluteFilePath().toStdString();
    };
    EXPECT_THAT(starts, ElementsAre("", full("/one"), "/given", "", full("/two")));
}

TEST(OpenFilename, TheDialogMayBeAnsweredCancelledOrLoseItsParent) {
    const QString file = QCoreApplication::applicationFilePath();
    auto parent = std::make_unique<QWidget>();
    const auto ask = [&](const std::function<void(QFileDialog&)>& answer) {
        whenModal<QFileDialog>(answer);
        return QtHelpers::getOpenFilename(parent.get(), "Test", "Caption", "Any (*)", nullptr,
                                          QFileInfo(file).path());
    };
    const auto accept = [&](QFileDialog& dialog) {
        dialog.selectFile(file);
        static_cast<QDialog&>(dialog).accept();
    };
    EXPECT_EQ(ask(accept), file);
    EXPECT_EQ(ask([](QFileDialog& dialog) { dialog.reject(); }), "");
    EXPECT_EQ(ask([&](QFileDialog&) { parent.reset(); }), "");
}

TEST(ROMDialog, GivesFileAndPort) {
    FileAnswers files({"/tools/a.rom", ""});
    ROMLoadingDialog dialog;
    QPushButton* const choose = buttonWith(dialog, "...");
    auto* const field = dialog.findChild<QLineEdit*>();
    dialog.show();
    QTest::mousePress(choose, Qt::LeftButton);
    EXPECT_TRUE(files.requests.empty());
    QTest::mouseRelease(choose, Qt::LeftButton);
    EXPECT_EQ(dialog.file().filePath(), "/tools/a.rom");
    ASSERT_EQ(files.requests.size(), 1U);
    EXPECT_EQ(files.requests[0].parent, &dialog);
    choose->click();
    EXPECT_EQ(field->text(), "");

    EXPECT_EQ(dialog.port(), 1);
    for (const auto& [wanted, given] : {std::pair{0, 1}, {16, 16}, {17, 16}, {7, 7}}) {
        dialog.findChild<QSpinBox*>()->setValue(wanted);
        EXPECT_EQ(dialog.port(), given);
    }
    QTest::keyClicks(field, "/typed/b.rom");
    QTest::keyClick(field, Qt::Key_Return); // not the file dialog, which would empty the field
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.file().fileName(), "b.rom");
}

} // namespace
} // namespace Morvalin

#include <morvalingui/PropertiesWidget.h>

#include "tests/gui/GuiRig.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>
#include <QSpinBox>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

class PropertiesWidgetTest : public testing::Test {
protected:
    PropertiesWidgetTest() {
        block.setParam("hardwareDevice", "auto");
        block.setParam("hardwareIPPort", std::int32_t{-8765});
        block.setParam("binaryMode", true);
        block.setParam("maxRange", std::int32_t{1});
        block.setParamType("maxRange", Properties::choiceParameterType);
        block.setParamAttributes("maxRange", {{"values", "Cube 1/2, Dome 3/4, Dome"}});
        widget.setProperties(block);
        widget.show();
        QApplication::setActiveWindow(&widget);
    }
    /// What the editor of a key shows; "none" without an editor.
    std::string shown(const char* key) {
        const QWidget* const editor = widget.editor(key);
        if (const auto* box = qobject_cast<const QCheckBox*>(editor))
            return box->isChecked() ? "on" : "off";
        if (const auto* box = qobject_cast<const QComboBox*>(editor))
            return box->currentText().toStdString();
        return editor != nullptr ? editor->property("text").toString().toStdString() : "none";
    }
    void type(const char* key, const char* text) {
        widget.editor(key)->setFocus();
        QTest::keyClicks(widget.editor(key), text);
    }
    Texts takeChanges() {
        Texts keys;
        while (!changes.empty())
            keys.push_back(*static_cast<const std::string*>(changes.takeFirst().at(0).constData()));
        return keys;
    }

    Properties block{"Stream"};
    PropertiesWidget widget;
    QSignalSpy changes{&widget, SIGNAL(parameterChanged(std::string))};
};

TEST_F(PropertiesWidgetTest, EveryKindIsShownEditedAndReportedAlone) {
    const struct {
        const char* key;
        const char* before;
        int editKey;
        const char* after;
        const char* stored;
    } table[] = {
        {"hardwareDevice", "auto", Qt::Key_Backspace, "aut", "aut"},
        {"hardwareIPPort", "-8765", Qt::Key_Up, "-8764", "-8764"},
        {"binaryMode", "on", Qt::Key_Space, "off", "false"},
        {"maxRange", "Dome 3/4", Qt::Key_Down, "Dome", "2"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(shown(row.key), row.before);
        widget.editor(row.key)->setFocus();
        QTest::keyClick(widget.editor(row.key), Qt::Key(row.editKey));
        QTest::keyClick(widget.editor(row.key), Qt::Key_Return);
        EXPECT_EQ(shown(row.key), row.after);
        EXPECT_THAT(takeChanges(), ElementsAre(row.key));
        EXPECT_EQ(widget.changedParameter().name(), "Stream");
        ASSERT_EQ(widget.changedParameter().params().size(), 1U);
        EXPECT_EQ(widget.changedParameter().params()[0].key, row.key);
        EXPECT_EQ(widget.changedParameter().params()[0].value, row.stored);
    }
}

TEST_F(PropertiesWidgetTest, AChoiceBeyondTheListShowsAndChangesNothing) {
    for (const char* index : {"3", "-1", "2147483647", "none"}) {
        block.setParam("maxRange", index);
        widget.setProperties(block);
        EXPECT_EQ(shown("maxRange"), "");
        EXPECT_EQ(widget.properties(), block);
    }
    EXPECT_THAT(takeChanges(), IsEmpty());
    type("maxRange", "C");
    EXPECT_THAT(takeChanges(), ElementsAre("maxRange"));
}

TEST_F(PropertiesWidgetTest, LabelsTooltipsAndHiddenParameters) {
    Properties named;
    Texts words;
    for (const auto& [key, label, shownAs] :
         {std::array{"binaryQueryMode", "", "Binary Query Mode"},
          {"hardwareIPPort", "", "Hardware IP Port"},
          {"useTCP", "", "Use TCP"},
          {"", "", ""},
          {"device", "aB of R&D", "aB of R&&D"}}) {
        named.setParam(key, "");
        named.setParamAttribute(key, "label", label);
        words.emplace_back(shownAs);
    }
    named.setParamAttribute("device", "tooltip", "What it is");
    named.setParam("secret", "");
    named.setParamAttribute("secret", "hidden", "true");
    PropertiesWidget other(&named);
    EXPECT_EQ(other.findChild<QLabel*>()->text(), "binaryQueryMode");
    other.setSplitCamelCase(true);
    Texts labels;
    for (const QLabel* label : other.findChildren<QLabel*>())
        labels.push_back(label->text().toStdString());
    EXPECT_EQ(labels, words);
    EXPECT_EQ(other.editor("device")->toolTip(), "What it is");
    EXPECT_EQ(other.editor("secret"), nullptr);
}

TEST_F(PropertiesWidgetTest, TextCountsWhenItIsComplete) {
    type("hardwareDevice", " 1");
    block.setParam("hardwareIPPort", std::int32_t{5});
    widget.setProperties(block); // something else has refreshed the panel meanwhile
    EXPECT_EQ(shown("hardwareDevice"), "auto 1");
    EXPECT_EQ(shown("hardwareIPPort"), "5");
    EXPECT_THAT(takeChanges(), IsEmpty());
    widget.editor("binaryMode")->setFocus();
    EXPECT_THAT(takeChanges(), ElementsAre("hardwareDevice"));
    type("hardwareDevice", "\r");
    EXPECT_THAT(takeChanges(), IsEmpty());
}

TEST_F(PropertiesWidgetTest, RefreshingInsideAnEditorsSignalIsSafe) {
    // The receiver refuses the text, drops one parameter and turns another one into text.
    QObject::connect(&widget, &PropertiesWidget::parameterChanged, &widget, [this] {
        Properties other;
        other.setParam("hardwareDevice", "");
        other.setParam("binaryMode", "yes");
        widget.setProperties(other);
    });
    const QPointer<QWidget> check = widget.editor("binaryMode");
    const QPointer<QWidget> line = widget.editor("hardwareDevice");
    QTest::keyClick(check, Qt::Key_Space);
    EXPECT_THAT(takeChanges(), ElementsAre("binaryMode"));
    EXPECT_FALSE(check.isNull());
    EXPECT_TRUE(waitUntil([&] { return check.isNull(); }));
    EXPECT_EQ(shown("binaryMode"), "yes");
    EXPECT_EQ(shown("maxRange"), "none");
    type("hardwareDevice", "COM10\r");
    EXPECT_EQ(widget.editor("hardwareDevice"), line.data());
    EXPECT_EQ(shown("hardwareDevice"), "");
    EXPECT_THAT(takeChanges(), ElementsAre("hardwareDevice"));
}

} // namespace
} // namespace Morvalin

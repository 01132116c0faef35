#include "ParameterEditor.h"

#include <limits>

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>

namespace Morvalin {

namespace {

class TextEditor : public ParameterEditor {
public:
    explicit TextEditor(QLineEdit* edit) : ParameterEditor(Kind::Text, edit), line(edit) {
        // Not at every key: half an address is none.
        connect(line, &QLineEdit::editingFinished, this, &TextEditor::commit);
    }

    QWidget* widget() const override { return line; }

    void show(const Properties& properties, const std::string& key) override {
        std::string value;
        properties.param(key, value);
        committed = QString::fromStdString(value);
        const bool isBeingTyped = line->hasFocus() && line->isModified();
        if (isBeingTyped || line->text() == committed)
            return;
        const QSignalBlocker blocker(line);
        line->setText(committed);
    }

    void store(Properties& properties, const std::string& key) const override {
        properties.setParam(key, line->text().toStdString());
    }

private:
    void commit() {
        line->setModified(false);
        if (line->text() == committed)
            return;
        committed = line->text();
        emit edited();
    }

    QLineEdit* const line;
    QString committed;
};

class IntegerEditor : public ParameterEditor {
public:
    explicit IntegerEditor(QSpinBox* edit) : ParameterEditor(Kind::Integer, edit), box(edit) {
        box->setRange(std::numeric_limits<std::int32_t>::min(),
                      std::numeric_limits<std::int32_t>::max());
        box->setKeyboardTracking(false);
        ignoreWheelWithoutFocus();
        connect(box, qOverload<int>(&QSpinBox::valueChanged), this, &IntegerEditor::edited);
    }

    QWidget* widget() const override { return box; }

    void show(const Properties& properties, const std::string& key) override {
        std::int32_t value = 0;
        properties.param(key, value);
        if (box->value() == value)
            return; // setting it would overwrite digits that are being typed
        const QSignalBlocker blocker(box);
        box->setValue(value);
    }

    void store(Properties& properties, const std::string& key) const override {
        properties.setParam(key, std::int32_t{box->value()});
    }

private:
    QSpinBox* const box;
};

class BooleanEditor : public ParameterEditor {
public:
    explicit BooleanEditor(QCheckBox* edit) : ParameterEditor(Kind::Boolean, edit), box(edit) {
        connect(box, &QCheckBox::toggled, this, &BooleanEditor::edited);
    }

    QWidget* widget() const override { return box; }

    void show(const Properties& properties, const std::string& key) override {
        bool value = false;
        properties.param(key, value);
        const QSignalBlocker blocker(box);
        box->setChecked(value);
    }

    void store(Properties& properties, const std::string& key) const override {
        properties.setParam(key, box->isChecked());
    }

private:
    QCheckBox* const box;
};

QStringList choices(const Properties& properties, const std::string& key) {
    for (const auto& [name, value] : properties.paramAttributes(key))
        if (name == "values" && !value.empty())
            return QString::fromStdString(value).split(QStringLiteral(", "));
    return {};
}

class ChoiceEditor : public ParameterEditor {
public:
    explicit ChoiceEditor(QComboBox* edit) : ParameterEditor(Kind::Choice, edit), box(edit) {
        ignoreWheelWithoutFocus();
        connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this, [this](int index) {
            if (index >= 0)
                emit edited();
        });
    }

    QWidget* widget() const override { return box; }

    void show(const Properties& properties, const std::string& key) override {
        const QSignalBlocker blocker(box);
        const QStringList texts = choices(properties, key);
        if (texts != shown) {
            box->clear();
            box->addItems(texts);
            shown = texts;
        }
        std::int32_t index = -1;
        properties.param(key, index);
        box->setCurrentIndex(index >= 0 && index < texts.size() ? index : -1);
    }

    void store(Properties& properties, const std::string& key) const override {
        if (box->currentIndex() >= 0)
            properties.setParam(key, std::int32_t{box->currentIndex()});
    }

private:
    QComboBox* const box;
    QStringList shown;
};

} // namespace

ParameterEditor::ParameterEditor(Kind kind, QWidget* widget) : QObject(widget), editorKind(kind) {}

ParameterEditor::Kind ParameterEditor::kindFor(const Properties::Parameter& parameter) {
    if (parameter.type == Properties::choiceParameterType)
        return Kind::Choice;
    switch (parameter.kind) {
    case Properties::ValueKind::Integer:
        return Kind::Integer;
    case Properties::ValueKind::Boolean:
        return Kind::Boolean;
    case Properties::ValueKind::Text:
        break;
    }
    return Kind::Text;
}

ParameterEditor* ParameterEditor::create(Kind kind, QWidget* parent) {
    switch (kind) {
    case Kind::Integer:
        return new IntegerEditor(new QSpinBox(parent));
    case Kind::Boolean:
        return new BooleanEditor(new QCheckBox(parent));
    case Kind::Choice:
        return new ChoiceEditor(new QComboBox(parent));
    case Kind::Text:
        break;
    }
    return new TextEditor(new QLineEdit(parent));
}

void ParameterEditor::ignoreWheelWithoutFocus() {
    auto* const edit = qobject_cast<QWidget*>(parent());
    edit->setFocusPolicy(Qt::StrongFocus);
    edit->installEventFilter(this);
}

bool ParameterEditor::eventFilter(QObject* watched, QEvent* event) {
    const auto* const edit = qobject_cast<QWidget*>(watched);
    if (event->type() != QEvent::Wheel || edit == nullptr || edit->hasFocus())
        return QObject::eventFilter(watched, event);
    event->ignore();
    return true;
}

} // namespace Morvalin

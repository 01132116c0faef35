#include <morvalingui/PropertiesWidget.h>

#include <algorithm>
#include <utility>

#include <QGridLayout>
#include <QLabel>
#include <QMetaType>

#include "ParameterEditor.h"

namespace Morvalin {

struct PropertiesWidget::Row {
    std::string key;
    QLabel* label = nullptr;
    ParameterEditor* editor = nullptr;

    bool operator==(const Row&) const = default;
};

namespace {

std::string attribute(const Properties::Parameter& parameter, const char* name) {
    for (const auto& [key, value] : parameter.attributes)
        if (key == name)
            return value;
    return {};
}

QString splitWords(const QString& key) {
    QString words;
    for (int i = 0; i < key.size(); ++i) {
        const bool endsAcronym = i + 1 < key.size() && key[i + 1].isLower();
        if (i > 0 && key[i].isUpper() && (!key[i - 1].isUpper() || endsAcronym))
            words += QLatin1Char(' ');
        words += i == 0 ? key[i].toUpper() : key[i];
    }
    return words;
}

} // namespace

PropertiesWidget::PropertiesWidget(const Properties* properties, QWidget* parent) :
    QWidget(parent), grid(new QGridLayout(this)) {
    qRegisterMetaType<std::string>("std::string");
    grid->setColumnStretch(1, 1);
    if (properties != nullptr)
        setProperties(*properties);
}

PropertiesWidget::~PropertiesWidget() = default;

void PropertiesWidget::setProperties(const Properties& properties) {
    block = properties;
    std::vector<Row> old = rows;
    std::vector<Row> wanted;
    for (const Properties::Parameter& parameter : block.params())
        if (attribute(parameter, "hidden") != "true")
            wanted.push_back(takeOrCreateRow(old, parameter));
    const bool isSameLayout = wanted == rows;
    rows = std::move(wanted);
    for (const Row& row : old)
        discard(row);
    if (!isSameLayout)
        arrangeRows();
    showValues();
}

PropertiesWidget::Row PropertiesWidget::takeOrCreateRow(std::vector<Row>& old,
                                                        const Properties::Parameter& parameter) {
    const auto kind = ParameterEditor::kindFor(parameter);
    const auto known = std::find_if(old.begin(), old.end(), [&](const Row& row) {
        return row.key == parameter.key && row.editor->kind() == kind;
    });
    if (known != old.end()) {
        const Row row = *known;
        old.erase(known);
        return row;
    }
    ParameterEditor* const editor = ParameterEditor::create(kind, this);
    connect(editor, &ParameterEditor::edited, this,
            [this, editor, key = parameter.key] { storeEdit(*editor, key); });
    auto* const label = new QLabel(this);
    label->setTextFormat(Qt::PlainText);
    label->setBuddy(editor->widget());
    return {parameter.key, label, editor};
}

void PropertiesWidget::discard(const Row& row) {
    // Deleted later: the editor may be reporting a change at this moment. Not heard any more:
    // losing the focus completes a text.
    row.editor->disconnect(this);
    for (QWidget* const widget : {static_cast<QWidget*>(row.label), row.editor->widget()}) {
        grid->removeWidget(widget);
        widget->hide();
        widget->deleteLater();
    }
}

void PropertiesWidget::arrangeRows() {
    for (const Row& row : rows) {
        grid->removeWidget(row.label);
        grid->removeWidget(row.editor->widget());
    }
    int place = 0;
    QWidget* previous = nullptr;
    for (const Row& row : rows) {
        QWidget* const widget = row.editor->widget();
        grid->addWidget(row.label, place, 0);
        grid->addWidget(widget, place, 1);
        if (previous != nullptr)
            setTabOrder(previous, widget);
        previous = widget;
        ++place;
    }
}

void PropertiesWidget::showValues() {
    for (const Properties::Parameter& parameter : block.params()) {
        const Row* const row = find(parameter.key);
        if (row == nullptr)
            continue;
        const QString tooltip = QString::fromStdString(attribute(parameter, "tooltip"));
        // A "&" in a label would become a keyboard shortcut.
        row->label->setText(labelText(parameter).replace(QLatin1String("&"), QLatin1String("&&")));
        row->label->setToolTip(tooltip);
        row->editor->widget()->setToolTip(tooltip);
        row->editor->show(block, parameter.key);
    }
}

QString PropertiesWidget::labelText(const Properties::Parameter& parameter) const {
    const std::string label = attribute(parameter, "label");
    if (!label.empty())
        return QString::fromStdString(label);
    const QString key = QString::fromStdString(parameter.key);
    return isSplittingCamelCase ? splitWords(key) : key;
}

void PropertiesWidget::setSplitCamelCase(bool split) {
    isSplittingCamelCase = split;
    showValues();
}

const PropertiesWidget::Row* PropertiesWidget::find(const std::string& key) const {
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.key == key; });
    return found != rows.end() ? &*found : nullptr;
}

QWidget* PropertiesWidget::editor(const std::string& key) const {
    const Row* const row = find(key);
    return row != nullptr ? row->editor->widget() : nullptr;
}

void PropertiesWidget::storeEdit(const ParameterEditor& editor, const std::string& key) {
    editor.store(block, key);
    change = Properties(block.name());
    editor.store(change, key);
    emit parameterChanged(key);
}

} // namespace Morvalin

#pragma once

#include <string>
#include <vector>

#include <QWidget>

#include <morvalincore/Properties.h>
#include <morvalingui/Export.h>

class QGridLayout;

namespace Morvalin {

class ParameterEditor;

/// Shows the parameters of a block and lets the user edit them, one row each, in their order.
///
/// The editor follows the parameter's type, else the kind of its value: a list for a choice, a line
/// for text, a number box, a check box. A choice whose index lies beyond its list shows nothing.
/// Attributes of a parameter: "label" takes the place of the key, "tooltip" is shown under the
/// mouse, and with "hidden" = "true" there is no row. Sub-blocks are not shown.
///
/// The widget works on a copy of the block: whoever wants to keep an edit connects to
/// parameterChanged() and asks for it.
class MORVALINGUI_EXPORT PropertiesWidget : public QWidget {
    Q_OBJECT

public:
    /// `properties` is copied; null shows nothing.
    explicit PropertiesWidget(const Properties* properties = nullptr, QWidget* parent = nullptr);
    ~PropertiesWidget() override;

    /// Shows another block, or the same one with new values. Emits nothing. Rows that stay keep
    /// their editor, its focus and what is being typed in it, so this may be called while an editor
    /// reports a change.
    void setProperties(const Properties& properties);

    /// The block as edited.
    const Properties& properties() const { return block; }

    /// A block of the same name that holds only the parameter that was edited last, with its new
    /// value; no parameter before the first edit.
    const Properties& changedParameter() const { return change; }

    /// Shows keys as words: "hardwareIPPort" as "Hardware IP Port". Off at first. Labels that the
    /// attribute "label" gives are shown as they are.
    void setSplitCamelCase(bool split);
    bool splitsCamelCase() const { return isSplittingCamelCase; }

    /// The widget that edits the parameter of that key; null when there is no row for it. Owned by
    /// this widget and gone when the row is.
    QWidget* editor(const std::string& key) const;

signals:
    /// The user has set the parameter of that key to another value. Text counts once it has been
    /// completed with Return or by leaving the line.
    void parameterChanged(std::string key);

private:
    struct Row;

    Row takeOrCreateRow(std::vector<Row>& old, const Properties::Parameter& parameter);
    void discard(const Row& row);
    void arrangeRows();
    void showValues();
    const Row* find(const std::string& key) const;
    QString labelText(const Properties::Parameter& parameter) const;
    void storeEdit(const ParameterEditor& editor, const std::string& key);

    Properties block;
    Properties change;
    bool isSplittingCamelCase = false;
    QGridLayout* const grid;
    std::vector<Row> rows;
};

} // namespace Morvalin

#pragma once

#include <string>

#include <QObject>

#include <morvalincore/Properties.h>

class QWidget;

namespace Morvalin {

/// The editor of one parameter: a widget, what it shows, and what the user has made of it. Belongs
/// to its widget and is destroyed with it.
class ParameterEditor : public QObject {
    Q_OBJECT

public:
    enum class Kind { Text, Integer, Boolean, Choice };

    /// The editor that a parameter asks for by its type, else by the kind of its value.
    static Kind kindFor(const Properties::Parameter& parameter);
    /// A new editor of that kind that shows nothing yet; `parent` owns its widget.
    static ParameterEditor* create(Kind kind, QWidget* parent);

    Kind kind() const { return editorKind; }
    virtual QWidget* widget() const = 0;
    /// Shows the parameter of that key without emitting edited(). What the user is typing stays.
    virtual void show(const Properties& properties, const std::string& key) = 0;
    /// Writes what the widget holds.
    virtual void store(Properties& properties, const std::string& key) const = 0;

signals:
    /// The user has chosen or completed another value.
    void edited();

protected:
    ParameterEditor(Kind kind, QWidget* widget);
    /// Keeps the mouse wheel from changing a value that the user only scrolls past.
    void ignoreWheelWithoutFocus();
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    const Kind editorKind;
};

} // namespace Morvalin

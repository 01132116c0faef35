#pragma once

#include <QWidget>

class QLabel;

namespace Morvalin::App {

class Workbench;

/// What the window shows while it waits for streams to close: each of them and what it is doing.
class ClosingPage : public QWidget {
    Q_OBJECT

public:
    explicit ClosingPage(QWidget* parent = nullptr);

    void refresh(const Workbench& workbench);
    QString text() const;

private:
    QLabel* const list;
};

} // namespace Morvalin::App

#pragma once

#include <QFrame>

class QLabel;
class QProgressBar;

namespace Morvalin::App {

/// One large line above the view: which stream, what it is doing, for how long, and what went
/// wrong. Its height never changes, so nothing below it jumps.
class StatusStrip : public QFrame {
    Q_OBJECT

public:
    explicit StatusStrip(QWidget* parent = nullptr);

    void present(const QString& title, const QString& status, const QColor& colour, bool isBusy);
    /// A second, smaller line; empty for none.
    void setRemark(const QString& remark);

    QString status() const;
    QString remark() const;
    bool isBusyShown() const;

private:
    QLabel* const titleLabel;
    QLabel* const statusLabel;
    QLabel* const remarkLabel;
    QProgressBar* const busy;
};

} // namespace Morvalin::App

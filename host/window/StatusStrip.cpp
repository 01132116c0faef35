#include "window/StatusStrip.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include "window/Look.h"

namespace Morvalin::App {

namespace {

/// Sets a colour only when it is another: a new style sheet is laid out anew.
void setColour(QLabel& label, const QColor& colour) {
    QPalette palette = label.palette();
    if (palette.color(QPalette::WindowText) == colour)
        return;
    palette.setColor(QPalette::WindowText, colour);
    label.setPalette(palette);
}

} // namespace

StatusStrip::StatusStrip(QWidget* parent) :
    QFrame(parent), titleLabel(new QLabel), statusLabel(new QLabel), remarkLabel(new QLabel),
    busy(new QProgressBar) {
    setAutoFillBackground(true);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, Look::raised);
    setPalette(colours);

    statusLabel->setFont(Look::scaledFont(*this, 1.6, true));
    titleLabel->setFont(Look::scaledFont(*this, 1.1));
    setColour(*titleLabel, Look::faintText);
    for (QLabel* const label : {titleLabel, statusLabel, remarkLabel}) {
        label->setTextFormat(Qt::PlainText);
        label->setMinimumWidth(1); // a long text must not widen the window
        label->setMinimumHeight(label->fontMetrics().height());
    }
    setColour(*remarkLabel, Look::warning);
    busy->setRange(0, 0);
    busy->setFixedWidth(180);
    busy->setTextVisible(false);
    busy->setAccessibleName(tr("Busy"));
    QSizePolicy keepsPlace = busy->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    busy->setSizePolicy(keepsPlace);
    busy->hide();

    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(titleLabel);
    texts->addWidget(statusLabel);
    texts->addWidget(remarkLabel);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 8, 14, 8);
    layout->addLayout(texts, 1);
    layout->addWidget(busy);
}

void StatusStrip::present(const QString& title, const QString& status, const QColor& colour,
                          bool isBusy) {
    titleLabel->setText(title);
    statusLabel->setText(status);
    setColour(*statusLabel, colour);
    busy->setVisible(isBusy);
}

void StatusStrip::setRemark(const QString& remark) {
    remarkLabel->setText(remark);
    remarkLabel->setToolTip(remark.toHtmlEscaped());
}

QString StatusStrip::status() const {
    return statusLabel->text();
}

QString StatusStrip::remark() const {
    return remarkLabel->text();
}

bool StatusStrip::isBusyShown() const {
    return !busy->isHidden();
}

} // namespace Morvalin::App

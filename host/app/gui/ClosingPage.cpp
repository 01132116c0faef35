#include "app/gui/ClosingPage.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include "app/gui/Look.h"
#include "app/gui/Workbench.h"

namespace Morvalin::App {

ClosingPage::ClosingPage(QWidget* parent) : QWidget(parent), list(new QLabel) {
    auto* const title = new QLabel(tr("Closing – waiting for the device"));
    title->setFont(Look::scaledFont(*this, 1.9, true));
    list->setFont(Look::scaledFont(*this, 1.25));
    list->setTextFormat(Qt::PlainText);
    auto* const hint = new QLabel(
        tr("This ends when the device has answered, or when the time allowed for its answer is "
           "over."));
    auto* const busy = new QProgressBar;
    busy->setRange(0, 0);
    busy->setTextVisible(false);
    busy->setFixedWidth(420);
    auto* const layout = new QVBoxLayout(this);
    layout->setSpacing(18);
    layout->addStretch();
    for (QWidget* const widget : {static_cast<QWidget*>(title), static_cast<QWidget*>(list),
                                  static_cast<QWidget*>(busy), static_cast<QWidget*>(hint)})
        layout->addWidget(widget, 0, Qt::AlignHCenter);
    layout->addStretch();
}

void ClosingPage::refresh(const Workbench& workbench) {
    QStringList lines;
    for (const StreamItem* const item : workbench.streams())
        lines << QStringLiteral("%1: %2").arg(item->label(),
                                              item->status().text(StreamStatus::Clock::now()));
    list->setText(lines.join(QLatin1Char('\n')));
}

QString ClosingPage::text() const {
    return list->text();
}

} // namespace Morvalin::App

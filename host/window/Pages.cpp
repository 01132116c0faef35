#include "window/Pages.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "window/Look.h"
#include "window/StreamStatusText.h"
#include "window/Workbench.h"

namespace Morvalin::App {

StartPage::StartPage(const std::vector<AlgorithmFactory::Descriptor>& algorithms,
                     const std::function<void(const std::string& id)>& choose, QWidget* parent) :
    QWidget(parent) {
    auto* const title = new QLabel(tr("No stream yet"));
    title->setFont(Look::scaledFont(*this, 1.9, true));
    auto* const hint =
        new QLabel(tr("Add one here or from the menu, or open a workspace (Ctrl+O)."));
    hint->setFont(Look::scaledFont(*this, 1.15));
    auto* const layout = new QVBoxLayout(this);
    layout->setSpacing(14);
    layout->addStretch(2);
    layout->addWidget(title, 0, Qt::AlignHCenter);
    layout->addWidget(hint, 0, Qt::AlignHCenter);
    layout->addSpacing(10);
    for (const AlgorithmFactory::Descriptor& algorithm : algorithms) {
        const QString name = QString::fromStdString(algorithm.displayName);
        auto* const button =
            new QPushButton(QString(name).replace(QLatin1Char('&'), QStringLiteral("&&")));
        button->setFont(Look::scaledFont(*this, 1.25));
        button->setMinimumSize(380, fontMetrics().height() * 3);
        button->setToolTip(QString::fromStdString(algorithm.category)
                               .replace(QLatin1Char(';'), QStringLiteral(" › ")));
        connect(button, &QPushButton::clicked, this, [choose, id = algorithm.id] { choose(id); });
        layout->addWidget(button, 0, Qt::AlignHCenter);
    }
    layout->addStretch(3);
}

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
        lines << QStringLiteral("%1: %2").arg(
            item->label(), statusText(item->status(), StreamStatus::Clock::now()));
    list->setText(lines.join(QLatin1Char('\n')));
}

QString ClosingPage::text() const {
    return list->text();
}

} // namespace Morvalin::App

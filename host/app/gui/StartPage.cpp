#include "app/gui/StartPage.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/gui/Look.h"

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

} // namespace Morvalin::App

#include "app/gui/AlgorithmMenu.h"

#include <QMenu>
#include <QMenuBar>
#include <QStringList>

namespace Morvalin::App {

namespace {

/// As a menu shows it, with its first letter as its key; a single & would mark another.
QString entryText(const QString& name) {
    return QLatin1Char('&') + QString(name).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QMenu* findMenu(const QWidget& parent, const QString& name) {
    for (const QAction* const action : parent.actions()) {
        const bool isSame =
            action->text().remove(QLatin1Char('&')) == QString(name).remove(QLatin1Char('&'));
        if (action->menu() != nullptr && isSame)
            return action->menu();
    }
    return nullptr;
}

QMenu* topMenu(QMenuBar& bar, QMenu* before, const QString& name) {
    if (QMenu* const existing = findMenu(bar, name))
        return existing;
    auto* const made = new QMenu(entryText(name), &bar);
    bar.insertMenu(before->menuAction(), made);
    return made;
}

QMenu* subMenu(QMenu& parent, const QString& name) {
    QMenu* const existing = findMenu(parent, name);
    return existing != nullptr ? existing : parent.addMenu(entryText(name));
}

} // namespace

void addAlgorithmMenus(QMenuBar& bar, QMenu* before,
                       const std::vector<AlgorithmFactory::Descriptor>& algorithms,
                       const std::function<void(const std::string& id)>& choose) {
    for (const AlgorithmFactory::Descriptor& algorithm : algorithms) {
        QStringList path =
            QString::fromStdString(algorithm.category).split(QLatin1Char(';'), Qt::SkipEmptyParts);
        const QString name =
            path.isEmpty() ? QString::fromStdString(algorithm.displayName) : path.takeLast();
        QMenu* menu =
            topMenu(bar, before, path.isEmpty() ? QStringLiteral("Algorithms") : path.takeFirst());
        for (const QString& piece : path)
            menu = subMenu(*menu, piece);
        QAction* const entry = menu->addAction(entryText(name));
        entry->setStatusTip(QString::fromStdString(algorithm.id));
        QObject::connect(entry, &QAction::triggered, menu,
                         [choose, id = algorithm.id] { choose(id); });
    }
}

} // namespace Morvalin::App

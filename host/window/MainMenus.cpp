#include "window/MainMenus.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

#include "window/LogView.h"
#include "window/MainWindow.h"
#include "window/VolumeView.h"

namespace Morvalin::App {

namespace {

void addFileMenu(MainWindow& window) {
    WorkspaceActions* const actions = &window.workspaces();
    QMenu* const menu = window.menuBar()->addMenu(MainWindow::tr("&File"));
    menu->addAction(MainWindow::tr("&New workspace"), actions, &WorkspaceActions::startNew,
                    QKeySequence::New);
    menu->addAction(MainWindow::tr("&Open workspace …"), actions, &WorkspaceActions::open,
                    QKeySequence::Open);
    menu->addAction(MainWindow::tr("&Save workspace"), actions, &WorkspaceActions::save,
                    QKeySequence::Save);
    menu->addAction(MainWindow::tr("Save workspace &as …"), actions, &WorkspaceActions::saveAs,
                    QKeySequence(MainWindow::tr("Ctrl+Shift+S")));
    menu->addSeparator();
    menu->addAction(MainWindow::tr("&Quit"), &window, &QWidget::close,
                    QKeySequence(MainWindow::tr("Ctrl+Q")));
}

void addViewMenu(MainWindow& window) {
    QMenu* const menu = window.menuBar()->addMenu(MainWindow::tr("&View"));
    menu->addAction(MainWindow::tr("Look at the &instruments"), window.volume(),
                    &VolumeView::lookAtInstruments, QKeySequence(MainWindow::tr("Ctrl+I")));
    menu->addAction(MainWindow::tr("&Reset tracked volume"), window.volume(),
                    &VolumeView::resetView, QKeySequence(MainWindow::tr("Ctrl+Home")));
    QAction* const logAction = menu->addAction(MainWindow::tr("&Log"));
    logAction->setCheckable(true);
    logAction->setChecked(true);
    logAction->setShortcut(QKeySequence(MainWindow::tr("Ctrl+L")));
    QObject::connect(logAction, &QAction::toggled, window.log(), &QWidget::setVisible);
}

void showAbout(MainWindow& window) {
    QString plugins;
    for (const PluginLoader::LoadedPlugin& loaded : window.bench().plugins().plugins())
        plugins += MainWindow::tr("%1 – %2 (%3)\n%4\n\n")
                       .arg(QString::fromStdString(loaded.id),
                            QString::fromStdString(loaded.plugin->description()),
                            QString::fromStdString(loaded.plugin->vendorName()),
                            QString::fromStdString(loaded.path));
    auto* const box =
        new QMessageBox(QMessageBox::Information, MainWindow::tr("About Morvalin"),
                        MainWindow::tr("Morvalin host %1").arg(QStringLiteral(MORVALIN_VERSION)),
                        QMessageBox::Ok, &window);
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(MainWindow::tr("Streams poses from tracking systems and shows them.\n\n"
                                           "Plug-ins:\n%1")
                                .arg(plugins.trimmed()));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

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

/// New menus of the bar are put before `before`.
void addAlgorithms(MainWindow& window, QMenu* before) {
    for (const AlgorithmFactory::Descriptor& algorithm : window.bench().plugins().algorithms()) {
        QStringList path =
            QString::fromStdString(algorithm.category).split(QLatin1Char(';'), Qt::SkipEmptyParts);
        const QString name =
            path.isEmpty() ? QString::fromStdString(algorithm.displayName) : path.takeLast();
        QMenu* menu = topMenu(*window.menuBar(), before,
                              path.isEmpty() ? QStringLiteral("Algorithms") : path.takeFirst());
        for (const QString& piece : path)
            menu = subMenu(*menu, piece);
        QAction* const entry = menu->addAction(entryText(name));
        entry->setStatusTip(QString::fromStdString(algorithm.id));
        QObject::connect(entry, &QAction::triggered, &window,
                         [&window, id = algorithm.id] { window.addStream(id); });
    }
}

} // namespace

QAction* addMenus(MainWindow& window) {
    addFileMenu(window);
    QMenu* const streamMenu = window.menuBar()->addMenu(MainWindow::tr("&Stream"));
    QAction* const removeAction =
        streamMenu->addAction(MainWindow::tr("&Remove stream"), &window, &MainWindow::removeCurrent,
                              QKeySequence(MainWindow::tr("Ctrl+Del")));
    addViewMenu(window);
    QMenu* const helpMenu = window.menuBar()->addMenu(MainWindow::tr("&Help"));
    helpMenu->addAction(MainWindow::tr("&About"), &window, [&window] { showAbout(window); });
    addAlgorithms(window, streamMenu);
    return removeAction;
}

} // namespace Morvalin::App

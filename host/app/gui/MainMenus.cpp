#include "app/gui/MainWindow.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QShortcut>

#include "app/gui/AlgorithmMenu.h"
#include "app/gui/LogView.h"
#include "app/gui/VolumeView.h"

namespace Morvalin::App {

void MainWindow::makeMenus() {
    makeFileMenu();
    makeStreamMenu();
    makeHelpMenu();
    addAlgorithmMenus(*menuBar(), streamMenu, workbench->plugins().algorithms(),
                      [this](const std::string& id) { addStream(id); });
}

void MainWindow::makeFileMenu() {
    fileMenu = menuBar()->addMenu(tr("&File"));
    fileMenu->addAction(tr("&New workspace"), actions, &WorkspaceActions::startNew,
                        QKeySequence::New);
    fileMenu->addAction(tr("&Open workspace …"), actions, &WorkspaceActions::open,
                        QKeySequence::Open);
    fileMenu->addAction(tr("&Save workspace"), actions, &WorkspaceActions::save,
                        QKeySequence::Save);
    fileMenu->addAction(tr("Save workspace &as …"), actions, &WorkspaceActions::saveAs,
                        QKeySequence(tr("Ctrl+Shift+S")));
    fileMenu->addSeparator();
    fileMenu->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence(tr("Ctrl+Q")));
}

void MainWindow::makeStreamMenu() {
    streamMenu = menuBar()->addMenu(tr("&Stream"));
    removeAction = streamMenu->addAction(tr("&Remove stream"), this, &MainWindow::removeCurrent,
                                         QKeySequence(tr("Ctrl+Del")));
    QMenu* const viewMenu = menuBar()->addMenu(tr("&View"));
    viewMenu->addAction(tr("Look at the &instruments"), volumeView, &VolumeView::lookAtInstruments,
                        QKeySequence(tr("Ctrl+I")));
    viewMenu->addAction(tr("&Reset tracked volume"), volumeView, &VolumeView::resetView,
                        QKeySequence(tr("Ctrl+Home")));
    QAction* const logAction = viewMenu->addAction(tr("&Log"));
    logAction->setCheckable(true);
    logAction->setChecked(true);
    logAction->setShortcut(QKeySequence(tr("Ctrl+L")));
    connect(logAction, &QAction::toggled, logView, &QWidget::setVisible);
}

void MainWindow::makeHelpMenu() {
    QMenu* const helpMenu = menuBar()->addMenu(tr("&Help"));
    helpMenu->addAction(tr("&About"), this, &MainWindow::showAbout);
}

void MainWindow::showAbout() {
    QString plugins;
    for (const PluginLoader::LoadedPlugin& loaded : workbench->plugins().plugins())
        plugins += tr("%1 – %2 (%3)\n%4\n\n")
                       .arg(QString::fromStdString(loaded.id),
                            QString::fromStdString(loaded.plugin->description()),
                            QString::fromStdString(loaded.plugin->vendorName()),
                            QString::fromStdString(loaded.path));
    auto* const box = new QMessageBox(QMessageBox::Information, tr("About Morvalin"),
                                      tr("Morvalin host %1").arg(QStringLiteral(MORVALIN_VERSION)),
                                      QMessageBox::Ok, this);
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(tr("Streams poses from tracking systems and shows them.\n\n"
                               "Plug-ins:\n%1")
                                .arg(plugins.trimmed()));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

} // namespace Morvalin::App

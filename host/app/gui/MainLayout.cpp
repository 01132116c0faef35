#include "app/gui/MainWindow.h"

#include <QGuiApplication>
#include <QListView>
#include <QScreen>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/gui/ClosingPage.h"
#include "app/gui/LogView.h"
#include "app/gui/StartPage.h"
#include "app/gui/StatusStrip.h"
#include "app/gui/StreamListDelegate.h"
#include "app/gui/StreamListModel.h"
#include "app/gui/VolumeView.h"

namespace Morvalin::App {

namespace {

constexpr QSize windowSize(1640, 980);
constexpr int leftWidth = 960; ///< shows the instruments' positions
constexpr int logHeight = 200;

} // namespace

QWidget* MainWindow::makeLeftSide() {
    list = new QListView;
    list->setModel(listModel);
    list->setItemDelegate(new StreamListDelegate(list));
    list->setUniformItemSizes(true);
    list->setAccessibleName(tr("Streams"));
    connect(list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &MainWindow::showCurrent);
    panels = new QStackedWidget;
    panels->addWidget(new QWidget);
    leftSide = new QWidget;
    auto* const layout = new QVBoxLayout(leftSide);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(list);
    layout->addWidget(panels, 1);
    return leftSide;
}

QWidget* MainWindow::makeViews() {
    statusStrip = new StatusStrip;
    volumeView = new VolumeView;
    auto* const view = new QWidget;
    auto* const layout = new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(statusStrip);
    layout->addWidget(volumeView, 1);
    views = new QStackedWidget;
    views->addWidget(new StartPage(workbench->plugins().algorithms(),
                                   [this](const std::string& id) { addStream(id); }));
    views->addWidget(view);
    return views;
}

QWidget* MainWindow::makeLog() {
    logView = new LogView;
    connect(logView, &LogView::troubleLogged, this,
            [this](int, const QString& text) { takeRemark(text); });
    return logView;
}

void MainWindow::makePages() {
    auto* const sides = new QSplitter(Qt::Horizontal);
    sides->addWidget(makeLeftSide());
    sides->addWidget(makeViews());
    sides->setStretchFactor(1, 1);
    sides->setSizes({leftWidth, windowSize.width() - leftWidth});
    sides->setChildrenCollapsible(false);
    workPage = new QSplitter(Qt::Vertical);
    workPage->addWidget(sides);
    workPage->addWidget(makeLog());
    workPage->setStretchFactor(0, 1);
    workPage->setSizes({windowSize.height() - logHeight, logHeight});
    workPage->setChildrenCollapsible(false);
    closingPage = new ClosingPage;
    pages = new QStackedWidget;
    pages->addWidget(workPage);
    pages->addWidget(closingPage);
    setCentralWidget(pages);
    resize(windowSize.boundedTo(QGuiApplication::primaryScreen()->availableSize()));
}

} // namespace Morvalin::App

#include "window/MainLayout.h"

#include <QGuiApplication>
#include <QListView>
#include <QMainWindow>
#include <QScreen>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "window/LogView.h"
#include "window/Pages.h"
#include "window/StatusStrip.h"
#include "window/StreamList.h"
#include "window/VolumeView.h"

namespace Morvalin::App {

namespace {

constexpr QSize windowSize(1640, 980);
constexpr int leftWidth = 960; ///< shows the instruments' positions
constexpr int logHeight = 200;

} // namespace

MainLayout::MainLayout(QMainWindow& window, StreamListModel& streams,
                       const std::vector<AlgorithmFactory::Descriptor>& algorithms,
                       const std::function<void(const std::string& id)>& add) :
    list(new QListView),
    panels(new QStackedWidget), leftSide(new QWidget), strip(new StatusStrip),
    volume(new VolumeView), views(new QStackedWidget), log(new LogView),
    workPage(new QSplitter(Qt::Vertical)), closingPage(new ClosingPage), pages(new QStackedWidget) {
    fillLeftSide(streams);
    fillViews(new StartPage(algorithms, add));
    fillWorkPage();
    pages->addWidget(workPage);
    pages->addWidget(closingPage);
    window.setCentralWidget(pages);
    window.resize(windowSize.boundedTo(QGuiApplication::primaryScreen()->availableSize()));
}

void MainLayout::fillLeftSide(StreamListModel& streams) {
    list->setModel(&streams);
    list->setItemDelegate(new StreamListDelegate(list));
    list->setUniformItemSizes(true);
    list->setAccessibleName(QCoreApplication::translate("MainWindow", "Streams"));
    panels->addWidget(new QWidget);
    auto* const layout = new QVBoxLayout(leftSide);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(list);
    layout->addWidget(panels, 1);
}

void MainLayout::fillViews(QWidget* startPage) {
    auto* const view = new QWidget;
    auto* const layout = new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(strip);
    layout->addWidget(volume, 1);
    views->addWidget(startPage);
    views->addWidget(view);
}

void MainLayout::fillWorkPage() {
    auto* const sides = new QSplitter(Qt::Horizontal);
    sides->addWidget(leftSide);
    sides->addWidget(views);
    sides->setStretchFactor(1, 1);
    sides->setSizes({leftWidth, windowSize.width() - leftWidth});
    sides->setChildrenCollapsible(false);
    workPage->addWidget(sides);
    workPage->addWidget(log);
    workPage->setStretchFactor(0, 1);
    workPage->setSizes({windowSize.height() - logHeight, logHeight});
    workPage->setChildrenCollapsible(false);
}

} // namespace Morvalin::App

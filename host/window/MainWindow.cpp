#include "window/MainWindow.h"

#include <algorithm>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QListView>
#include <QMenuBar>
#include <QMessageBox>
#include <QScrollArea>
#include <QSplitter>
#include <QStackedWidget>

#include "window/LogView.h"
#include "window/Look.h"
#include "window/MainMenus.h"
#include "window/Pages.h"
#include "window/StatusStrip.h"
#include "window/StreamList.h"
#include "window/StreamStatusText.h"
#include "window/VolumeView.h"

namespace Morvalin::App {

namespace {

constexpr int mostRowsInSight = 4; ///< of the list
constexpr int clockMs = 250;
constexpr int ticksPerRate = 4;
constexpr int dialogDelayMs = 20;
constexpr int closingDelayMs = 250; ///< so that what closes at once does not flash

} // namespace

MainWindow::MainWindow(const PluginLoader& plugins) :
    workbench(std::make_unique<Workbench>(plugins)),
    actions(new WorkspaceActions(*workbench, *this)),
    listModel(new StreamListModel(*workbench, this)),
    parts(*this, *listModel, plugins.algorithms(),
          [this](const std::string& id) { addStream(id); }),
    removeAction(addMenus(*this)) {
    actions->setParent(this);
    connect(parts.list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &MainWindow::showCurrent);
    connect(parts.log, &LogView::troubleLogged, this,
            [this](int, const QString& text) { takeRemark(text); });
    connect(workbench.get(), &Workbench::added, this, &MainWindow::onAdded);
    connect(workbench.get(), &Workbench::removing, this, &MainWindow::onRemoving);
    connect(workbench.get(), &Workbench::changed, this, &MainWindow::refreshStatus);
    connect(actions, &WorkspaceActions::phaseChanged, this, &MainWindow::refreshPages);
    connect(&clock, &QTimer::timeout, this, &MainWindow::tick);
    clock.start(clockMs);
    closingDelay.setSingleShot(true);
    connect(&closingDelay, &QTimer::timeout, this, &MainWindow::showClosingPage);
    refreshPages();
    refreshStatus();
}

MainWindow::~MainWindow() {
    // Nobody looks at the streams any more while they close.
    workbench->disconnect();
    parts.volume->setStream(nullptr);
    parts.list->setModel(nullptr);
    for (const auto& [item, area] : panelOf)
        area->takeWidget()->setParent(nullptr);
    workbench.reset();
}

// ---- Streams

StreamItem* MainWindow::current() const {
    return listModel->item(parts.list->currentIndex());
}

void MainWindow::select(const StreamItem* item) {
    parts.list->setCurrentIndex(listModel->indexOf(item));
}

void MainWindow::addStream(const std::string& algorithmId) {
    if (actions->isBusy())
        return;
    std::string error;
    if (const StreamItem* const item = workbench->add(algorithmId, error))
        return select(item);
    auto* const box = new QMessageBox(QMessageBox::Warning, tr("Stream"),
                                      tr("The stream could not be added."), QMessageBox::Ok, this);
    box->setInformativeText(QString::fromStdString(error));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::onAdded(StreamItem* item) {
    if (QWidget* const panel = item->panel()) {
        auto* const area = new QScrollArea;
        area->setFrameShape(QFrame::NoFrame);
        area->setWidgetResizable(true);
        area->setWidget(panel);
        parts.panels->addWidget(area);
        panelOf[item] = area;
    }
    if (current() == nullptr)
        select(item);
    refreshPages();
}

/// The panel goes back to the stream, which owns it.
void MainWindow::onRemoving(StreamItem* item) {
    if (parts.volume->stream() == item)
        parts.volume->setStream(nullptr);
    const auto found = panelOf.find(item);
    if (found != panelOf.end()) {
        QScrollArea* const area = found->second;
        panelOf.erase(found);
        area->takeWidget()->setParent(nullptr);
        delete area;
    }
    // After the list has taken the row away.
    QTimer::singleShot(0, this, &MainWindow::showCurrent);
    QTimer::singleShot(0, this, &MainWindow::refreshPages);
}

void MainWindow::showCurrent() {
    StreamItem* const item = current();
    const bool isShown = item != nullptr && !item->isRemoving();
    const auto found = panelOf.find(item);
    parts.panels->setCurrentWidget(isShown && found != panelOf.end() ? found->second
                                                                     : parts.panels->widget(0));
    parts.volume->setStream(isShown ? item : nullptr);
    refreshStatus();
}

void MainWindow::removeCurrent() {
    StreamItem* const item = current();
    if (item == nullptr || item->isRemoving() || actions->isBusy())
        return;
    const auto remove = [this](StreamItem& removed) {
        workbench->remove(removed);
        showCurrent();
    };
    if (item->stream().state() == Stream::Closed)
        return remove(*item);
    auto* const box =
        new QMessageBox(QMessageBox::Question, tr("Remove stream"),
                        tr("Remove \"%1\"? It is in use and will be closed.").arg(item->label()),
                        QMessageBox::Yes | QMessageBox::Cancel, this);
    box->setDefaultButton(QMessageBox::Cancel);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QDialog::finished, this, [box, remove, asked = QPointer<StreamItem>(item)](int) {
        if (!asked.isNull() && box->standardButton(box->clickedButton()) == QMessageBox::Yes)
            remove(*asked);
    });
    box->open();
}

// ---- Keeping up

void MainWindow::tick() {
    if (++ticks % ticksPerRate == 0)
        for (StreamItem* const item : workbench->streams())
            item->measureRate(StreamStatus::Clock::now());
    listModel->refresh();
    refreshStatus();
    if (actions->isClosing())
        parts.closingPage->refresh(*workbench);
}

void MainWindow::refreshStatus() {
    const StreamItem* const item = current();
    removeAction->setEnabled(item != nullptr && !item->isRemoving() && !actions->isBusy());
    refreshTitle();
    if (item == nullptr)
        return parts.strip->present({}, {}, Look::text, false);
    const StreamStatus status = item->status();
    const bool isAtRest = status.state == Stream::Closed && !status.isBusy() &&
                          status.failure == StreamStatus::Failure::None;
    const QColor colour =
        listModel->indexOf(item).data(StreamListModel::colourRole).value<QColor>();
    parts.strip->present(item->label(), statusText(status, StreamStatus::Clock::now()),
                         isAtRest ? Look::text : colour, status.isBusy());
    parts.strip->setRemark(item->remark());
    parts.volume->update();
}

void MainWindow::refreshTitle() {
    const QString file = QString::fromStdString(workbench->path());
    const QString name = file.isEmpty() ? tr("New workspace") : QFileInfo(file).fileName();
    const QString saving = workbench->isSaving() ? tr(" – saving …") : QString();
    setWindowTitle(QStringLiteral("%1[*]%2 – Morvalin").arg(name, saving));
    setWindowModified(workbench->isModified());
}

void MainWindow::refreshPages() {
    menuBar()->setEnabled(!actions->isClosing());
    if (!actions->isClosing()) {
        closingDelay.stop();
        parts.pages->setCurrentWidget(parts.workPage);
    } else if (parts.pages->currentWidget() == parts.workPage && !closingDelay.isActive()) {
        closingDelay.start(closingDelayMs);
    }
    const bool isEmpty = workbench->streams().empty();
    parts.views->setCurrentIndex(isEmpty ? 0 : 1);
    parts.leftSide->setVisible(!isEmpty);
    fitList();
    refreshStatus();
}

void MainWindow::fitList() {
    const int rows = std::min(listModel->rowCount(), mostRowsInSight);
    if (rows > 0)
        parts.list->setFixedHeight(rows * parts.list->sizeHintForRow(0) +
                                   2 * parts.list->frameWidth());
}

void MainWindow::showClosingPage() {
    parts.closingPage->refresh(*workbench);
    parts.pages->setCurrentWidget(parts.closingPage);
}

/// What goes wrong is told beside the stream it belongs to, when there is no doubt which that is.
void MainWindow::takeRemark(const QString& text) {
    constexpr std::chrono::seconds afterwards{1};
    const auto now = StreamStatus::Clock::now();
    std::vector<StreamItem*> busy;
    std::vector<StreamItem*> open;
    for (StreamItem* const item : workbench->streams()) {
        const StreamStatus status = item->status();
        const bool hasFailedJustNow =
            status.failure != StreamStatus::Failure::None && now - status.since < afterwards;
        if (status.isBusy() || hasFailedJustNow)
            busy.push_back(item);
        if (status.state != Stream::Closed)
            open.push_back(item);
    }
    const auto& candidates = busy.empty() ? open : busy;
    if (candidates.size() == 1)
        candidates.front()->setRemark(text);
}

// ---- Closing

void MainWindow::closeEvent(QCloseEvent* event) {
    if (isFinished)
        return event->accept();
    event->ignore();
    if (QApplication::activeModalWidget() == nullptr)
        actions->leaveProgram(WorkspaceActions::Ask::IfModified, [this] { finishClosing(); });
}

void MainWindow::closeWithoutAsking() {
    // A dialog of a panel runs inside a call of that panel, which must end first.
    if (QWidget* const dialog = QApplication::activeModalWidget()) {
        dialog->close();
        QTimer::singleShot(dialogDelayMs, this, &MainWindow::closeWithoutAsking);
        return;
    }
    actions->leaveProgram(WorkspaceActions::Ask::Never, [this] { finishClosing(); });
}

void MainWindow::finishClosing() {
    isFinished = true;
    close();
}

} // namespace Morvalin::App

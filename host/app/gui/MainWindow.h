#pragma once

#include <map>
#include <memory>

#include <QMainWindow>
#include <QTimer>

#include "app/gui/Workbench.h"
#include "app/gui/WorkspaceActions.h"

class QAction;
class QListView;
class QMenu;
class QScrollArea;
class QSplitter;
class QStackedWidget;

namespace Morvalin::App {

class ClosingPage;
class LogView;
class StatusStrip;
class StreamListModel;
class VolumeView;

/// The main window: streams to the left with the panel of the one that is selected, its tracked
/// volume to the right, the log below both.
///
/// Closing it closes the streams first, in the background; the window says what it is waiting for
/// and goes away when the last one is closed. A window that is destroyed while streams are open
/// waits for them.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `plugins` outlives the window.
    explicit MainWindow(const PluginLoader& plugins);
    ~MainWindow() override;

    /// Closes the streams and the window without asking about unsaved changes.
    void closeWithoutAsking();

    Workbench& bench() { return *workbench; }
    WorkspaceActions& workspaces() { return *actions; }
    VolumeView* volume() const { return volumeView; }
    LogView* log() const { return logView; }
    StatusStrip* strip() const { return statusStrip; }
    /// The stream that is shown; null for none.
    StreamItem* current() const;
    void select(const StreamItem* item);

public slots:
    void removeCurrent();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* makeLeftSide();
    QWidget* makeViews();
    QWidget* makeLog();
    void makePages();
    void makeMenus();
    void makeFileMenu();
    void makeStreamMenu();
    void makeHelpMenu();

    void addStream(const std::string& algorithmId);
    void onAdded(StreamItem* item);
    void onRemoving(StreamItem* item);
    void showCurrent();
    void tick();
    void refreshStatus();
    void refreshTitle();
    void refreshPages();
    void fitList();
    void showClosingPage();
    void takeRemark(const QString& text);
    void showAbout();
    void finishClosing();

    std::unique_ptr<Workbench> workbench;
    WorkspaceActions* actions = nullptr;
    StreamListModel* listModel = nullptr;
    QListView* list = nullptr;
    QStackedWidget* panels = nullptr;
    std::map<const StreamItem*, QScrollArea*> panelOf;
    StatusStrip* statusStrip = nullptr;
    VolumeView* volumeView = nullptr;
    LogView* logView = nullptr;
    QStackedWidget* views = nullptr; ///< start page or volume
    QWidget* leftSide = nullptr;
    QSplitter* workPage = nullptr;
    ClosingPage* closingPage = nullptr;
    QStackedWidget* pages = nullptr;
    QMenu* fileMenu = nullptr;
    QMenu* streamMenu = nullptr;
    QAction* removeAction = nullptr;
    QTimer clock;
    QTimer closingDelay;
    int ticks = 0;
    bool isFinished = false;
};

} // namespace Morvalin::App

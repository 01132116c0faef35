#pragma once

#include <map>
#include <memory>

#include <QMainWindow>
#include <QTimer>

#include "window/MainLayout.h"
#include "window/Workbench.h"
#include "window/WorkspaceActions.h"

class QAction;
class QScrollArea;

namespace Morvalin::App {

/// The main window, laid out as MainLayout says.
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
    VolumeView* volume() const { return parts.volume; }
    LogView* log() const { return parts.log; }
    StatusStrip* strip() const { return parts.strip; }
    /// The stream that is shown; null for none.
    StreamItem* current() const;
    void select(const StreamItem* item);

public slots:
    void addStream(const std::string& algorithmId);
    void removeCurrent();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
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
    void finishClosing();

    std::unique_ptr<Workbench> workbench;
    WorkspaceActions* const actions;
    StreamListModel* const listModel;
    const MainLayout parts;
    std::map<const StreamItem*, QScrollArea*> panelOf;
    QAction* const removeAction;
    QTimer clock;
    QTimer closingDelay;
    int ticks = 0;
    bool isFinished = false;
};

} // namespace Morvalin::App

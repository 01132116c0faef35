#pragma once

#include <functional>

#include <QObject>
#include <QPointer>
#include <QString>

#include "window/Workbench.h"

class QMessageBox;
class QWidget;

namespace Morvalin::App {

/// What the user does with workspaces: opens, saves, leaves them. Asks before unsaved changes are
/// lost. Nothing here blocks; questions are shown and answered later.
class WorkspaceActions : public QObject {
    Q_OBJECT

public:
    /// Both outlive the actions; questions are asked over `window`.
    WorkspaceActions(Workbench& workbench, QWidget& window);

    /// Asks for the file to write; empty when cancelled.
    using FileChooser = std::function<QString(QWidget* parent, const QString& start)>;
    /// Takes the place of the file dialog, for tests.
    void setSaveFileChooser(FileChooser chooser) { chooseSaveFile = std::move(chooser); }

    /// Opens the first file, in an empty window. False, with one line, when it cannot be read.
    /// Throws Refusal when a setting of the options does not fit.
    bool openFirst(const QString& path, const SessionOptions& options, std::string& error);
    /// Opens a file in place of what is there, after asking.
    void openFile(const QString& path);
    /// Has leaveProgram() write the workspace to that file instead of asking.
    void saveAtEnd(const QString& path) { lastFile = path; }

    enum class Ask { IfModified, Never };
    /// Closes all streams, after asking, and calls `next` when they are gone. While it is at it
    /// already, only leaving without asking changes what comes next.
    void leave(Ask ask, std::function<void()> next);
    /// Likewise, for the last time. When the file of saveAtEnd() cannot be written, the user is
    /// told and nothing is closed, unless nobody is to be asked; the next attempt asks as usual.
    void leaveProgram(Ask ask, const std::function<void()>& next);
    /// The last attempt to save failed.
    bool hasFailedToSave() const { return isSaveLost; }
    /// A question is shown, or the workspace is being left.
    bool isBusy() const { return phase != Phase::Idle; }
    /// Streams are being closed because the workspace is left.
    bool isClosing() const { return phase == Phase::Closing; }

public slots:
    void startNew();
    void open();
    void save();
    void saveAs();

signals:
    /// isBusy() or isClosing() is another.
    void phaseChanged();

private:
    enum class Phase { Idle, Asking, Saving, Closing };

    void setPhase(Phase next);
    void askThen(std::function<void()> next);
    void onAnswer(int button, const std::function<void()>& next);
    void saveThen(const QString& path, std::function<void()> next);
    void closeStreams(std::function<void()> next);
    void onSaved(bool isGood, const QString& error);
    void onCleared();
    bool load(const QString& path, const SessionOptions& options, std::string& error);
    void tellUnreadable(const std::string& error);
    QString chosenSaveFile() const;
    void tell(const QString& text, const QString& details);

    Workbench& workbench;
    QWidget& window;
    FileChooser chooseSaveFile;
    Phase phase = Phase::Idle;
    QPointer<QMessageBox> question;
    QString pathToSave; ///< behind a save that is under way
    QString lastFile;   ///< empty: none
    bool isSaveLost = false;
    bool leavesAnyway = false; ///< whether or not the save succeeds
    std::function<void()> afterSave;
    std::function<void()> afterClosing;
};

} // namespace Morvalin::App

#include "window/WorkspaceActions.h"

#include <utility>

#include <QFileDialog>
#include <QMessageBox>
#include <QTimer>

#include <morvalincore/LogText.h>
#include <morvalingui/QtHelpers.h>
#include <morvalinlib/Workspace.h>

namespace Morvalin::App {

namespace {

std::string toPath(const QString& text) {
    return text.toStdString();
}

QString askForSaveFile(QWidget* parent, const QString& start) {
    return QFileDialog::getSaveFileName(parent, WorkspaceActions::tr("Save workspace"), start,
                                        WorkspaceActions::tr("Workspaces (*.xml)"));
}

} // namespace

WorkspaceActions::WorkspaceActions(Workbench& bench, QWidget& parent) :
    workbench(bench), window(parent), chooseSaveFile(askForSaveFile) {
    connect(&workbench, &Workbench::saved, this, &WorkspaceActions::onSaved);
    connect(&workbench, &Workbench::cleared, this, &WorkspaceActions::onCleared);
}

void WorkspaceActions::setPhase(Phase next) {
    phase = next;
    emit phaseChanged();
}

void WorkspaceActions::startNew() {
    leave(Ask::IfModified, [] {});
}

void WorkspaceActions::open() {
    if (isBusy())
        return;
    const QString path =
        QtHelpers::getOpenFilename(&window, QStringLiteral("Workspace"), tr("Open workspace"),
                                   tr("Workspaces (*.xml);;All files (*)"), nullptr, {});
    if (!path.isEmpty())
        openFile(path);
}

void WorkspaceActions::openFile(const QString& path) {
    // A file that cannot be read must not cost what is open.
    Properties candidate;
    std::string error;
    if (!Workspace::load(toPath(path), candidate, error))
        return tellUnreadable(error);
    leave(Ask::IfModified, [this, path] {
        std::string fault; // the file may be another by now
        if (!load(path, {}, fault))
            tellUnreadable(fault);
    });
}

bool WorkspaceActions::openFirst(const QString& path, const SessionOptions& options,
                                 std::string& error) {
    return load(path, options, error);
}

void WorkspaceActions::tellUnreadable(const std::string& error) {
    tell(tr("The workspace could not be opened."), QString::fromStdString(error));
}

bool WorkspaceActions::load(const QString& path, const SessionOptions& options,
                            std::string& error) {
    std::vector<std::string> problems;
    if (!workbench.open(toPath(path), options, problems, error))
        return false;
    QStringList lines;
    for (const std::string& problem : problems)
        lines << QString::fromStdString(problem);
    const QString text = lines.join(QLatin1Char('\n'));
    if (!text.isEmpty()) // once the window is shown
        QTimer::singleShot(0, this, [this, text] {
            tell(tr("Some parts of the workspace cannot be used. They are left out here and "
                    "stay in the file."),
                 text);
        });
    return true;
}

void WorkspaceActions::save() {
    if (workbench.path().empty())
        return saveAs();
    if (!isBusy())
        workbench.save(workbench.path());
}

void WorkspaceActions::saveAs() {
    if (isBusy() || workbench.isSaving())
        return;
    const QString path = chosenSaveFile();
    if (!path.isEmpty())
        workbench.save(toPath(path));
}

QString WorkspaceActions::chosenSaveFile() const {
    const QString start = workbench.path().empty() ? QStringLiteral("workspace.xml")
                                                   : QString::fromStdString(workbench.path());
    return chooseSaveFile(&window, start);
}

void WorkspaceActions::leave(Ask ask, std::function<void()> next) {
    if (ask == Ask::Never) {
        if (question != nullptr)
            question->reject();
        if (phase != Phase::Closing)
            return closeStreams(std::move(next));
        afterClosing = std::move(next);
        return;
    }
    if (isBusy())
        return;
    setPhase(Phase::Asking);
    workbench.settle([this, proceed = std::move(next)] {
        if (phase != Phase::Asking)
            return;
        if (workbench.isModified())
            askThen(proceed);
        else
            closeStreams(proceed);
    });
}

void WorkspaceActions::leaveProgram(Ask ask, const std::function<void()>& next) {
    if (phase == Phase::Closing || lastFile.isEmpty())
        return leave(ask, next);
    if (isBusy() && ask == Ask::IfModified)
        return;
    if (question != nullptr)
        question->reject();
    leavesAnyway = ask == Ask::Never;
    saveThen(std::exchange(lastFile, {}), next);
}

void WorkspaceActions::askThen(std::function<void()> next) {
    question =
        new QMessageBox(QMessageBox::Warning, tr("Unsaved changes"),
                        tr("The workspace has changes that are not saved."),
                        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, &window);
    question->setInformativeText(tr("Without saving they are lost."));
    question->setDefaultButton(QMessageBox::Save);
    question->setAttribute(Qt::WA_DeleteOnClose);
    connect(question, &QDialog::finished, this, [this, proceed = std::move(next)] {
        onAnswer(question->standardButton(question->clickedButton()), proceed);
    });
    question->open();
}

void WorkspaceActions::onAnswer(int button, const std::function<void()>& next) {
    question = nullptr;
    if (button == QMessageBox::Discard)
        return closeStreams(next);
    if (button != QMessageBox::Save)
        return setPhase(Phase::Idle);
    const QString path =
        workbench.path().empty() ? chosenSaveFile() : QString::fromStdString(workbench.path());
    if (path.isEmpty())
        setPhase(Phase::Idle);
    else
        saveThen(path, next);
}

void WorkspaceActions::saveThen(const QString& path, std::function<void()> next) {
    setPhase(Phase::Saving);
    afterSave = std::move(next);
    if (!workbench.save(toPath(path)))
        pathToSave = path;
}

void WorkspaceActions::onSaved(bool isGood, const QString& error) {
    isSaveLost = !isGood;
    if (!isGood)
        logText(Log::Error, "Host", "the workspace could not be saved: ", error.toStdString());
    if (!pathToSave.isEmpty()) {
        workbench.save(toPath(std::exchange(pathToSave, {})));
        return;
    }
    if (!isGood && !leavesAnyway)
        tell(tr("The workspace could not be saved."), error);
    const auto next = std::exchange(afterSave, nullptr);
    if (phase != Phase::Saving)
        return;
    if (isGood || leavesAnyway)
        closeStreams(next);
    else
        setPhase(Phase::Idle);
}

void WorkspaceActions::closeStreams(std::function<void()> next) {
    afterClosing = std::move(next);
    setPhase(Phase::Closing);
    workbench.clear();
}

void WorkspaceActions::onCleared() {
    if (phase != Phase::Closing)
        return;
    setPhase(Phase::Idle);
    std::exchange(afterClosing, nullptr)();
}

void WorkspaceActions::tell(const QString& text, const QString& details) {
    auto* const box =
        new QMessageBox(QMessageBox::Warning, tr("Workspace"), text, QMessageBox::Ok, &window);
    box->setInformativeText(details);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

} // namespace Morvalin::App

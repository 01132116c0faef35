#include <morvalingui/QtHelpers.h>

#include <utility>

#include <QFileDialog>
#include <QFileInfo>
#include <QMap>
#include <QPointer>

namespace Morvalin::QtHelpers {

namespace {

OpenFilenameHook& installedHook() {
    static OpenFilenameHook hook;
    return hook;
}

QMap<QString, QString>& lastFolders() {
    static QMap<QString, QString> folders;
    return folders;
}

QString askUser(const OpenFilenameRequest& request, QString* selectedFilter) {
    // On the heap and watched: as a child of the parent it may be destroyed while it is shown.
    const QPointer<QFileDialog> dialog(
        new QFileDialog(request.parent, request.caption, request.start, request.filter));
    dialog->setFileMode(QFileDialog::ExistingFile);
    const int answer = dialog->exec();
    if (dialog.isNull())
        return {};
    QString chosen;
    if (answer == QDialog::Accepted)
        chosen = dialog->selectedFiles().value(0);
    if (selectedFilter != nullptr)
        *selectedFilter = dialog->selectedNameFilter();
    delete dialog.data();
    return chosen;
}

} // namespace

QString getOpenFilename(QWidget* parent, const QString& category, const QString& caption,
                        const QString& filter, QString* selectedFilter, const QString& start) {
    const QString first = start.isEmpty() ? lastFolders().value(category) : start;
    const OpenFilenameRequest request{parent, category, caption, filter, first};
    const QString chosen =
        installedHook() ? installedHook()(request) : askUser(request, selectedFilter);
    if (!chosen.isEmpty())
        lastFolders()[category] = QFileInfo(chosen).absolutePath();
    return chosen;
}

OpenFilenameHook setOpenFilenameHook(OpenFilenameHook hook) {
    return std::exchange(installedHook(), std::move(hook));
}

} // namespace Morvalin::QtHelpers

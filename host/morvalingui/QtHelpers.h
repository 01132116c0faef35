#pragma once

#include <functional>

#include <QString>

#include <morvalingui/Export.h>

class QWidget;

namespace Morvalin {

/// What the host offers to panels beside widgets. GUI thread only.
namespace QtHelpers {

/// What a file dialog was asked for.
struct OpenFilenameRequest {
    QWidget* parent = nullptr;
    QString category;
    QString caption;
    QString filter;
    QString start; ///< folder or file that the dialog shows first
};

/// Lets the user choose an existing file and returns its path, an empty text when cancelled.
///
/// `category` names a kind of file: unless `start` says where to begin, the dialog shows the folder
/// from which a file of that category was last chosen. `filter` is in Qt's form, "Name (*.ext)",
/// several separated by ";;". The filter in use at the end is stored in `selectedFilter` if that is
/// not null. The parent may be destroyed while the dialog is shown; that counts as cancelled.
MORVALINGUI_EXPORT QString getOpenFilename(QWidget* parent, const QString& category,
                                           const QString& caption, const QString& filter,
                                           QString* selectedFilter, const QString& start);

/// Answers in place of the dialog, for tests: returns a path, or an empty text for cancelled.
using OpenFilenameHook = std::function<QString(const OpenFilenameRequest&)>;

/// Replaces the hook and returns the one before it; an empty function brings the dialog back.
MORVALINGUI_EXPORT OpenFilenameHook setOpenFilenameHook(OpenFilenameHook hook);

} // namespace QtHelpers
} // namespace Morvalin

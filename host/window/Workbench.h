#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QObject>

#include <morvalinlib/PluginLoader.h>

#include "session/WorkspaceSessions.h"
#include "window/StreamItem.h"

namespace Morvalin::App {

/// The streams of the window and the workspace they belong to. Has no widgets of its own but makes
/// the panels. GUI thread; what takes time runs elsewhere and is reported by a signal.
class Workbench : public QObject {
    Q_OBJECT

public:
    /// `plugins` outlives the workbench.
    explicit Workbench(const PluginLoader& plugins);
    /// Closes all streams and waits for them.
    ~Workbench() override;

    const PluginLoader& plugins() const { return loader; }
    /// In the order in which they were added; those being removed are among them.
    std::vector<StreamItem*> streams() const;
    /// What the items stand for.
    const Sessions& sessions() const { return workspace.sessions(); }

    /// Adds a closed stream; null, with one line, when it cannot be created.
    StreamItem* add(const std::string& algorithmId, std::string& error);
    /// Closes a stream in the background and takes it away then.
    void remove(StreamItem& item);
    /// Does so for all; cleared() follows, at once when there are none. The document is empty then.
    void clear();

    /// Reads a file whose streams take the place of none: the workbench must be empty. Brings up
    /// those that ask for it. `problems` gets a line for every block that was left out, which stays
    /// in the document. False, with one line, when the file cannot be read. Throws Refusal, before
    /// any stream is brought up, when a setting of the options does not fit.
    bool open(const std::string& path, const SessionOptions& options,
              std::vector<std::string>& problems, std::string& error);

    /// Writes the workspace when all streams have told their settings, which one that is opening
    /// does at the end of it; saved() follows. False when a save is under way.
    bool save(const std::string& path);
    bool isSaving() const { return isBeingSaved; }

    const std::string& path() const { return workspace.path(); }
    /// As far as known: settings are read when streams change state and when they are edited.
    bool isModified() const { return workspace.isModified(); }
    /// Calls `done` when the settings are up to date, or after a moment if a stream is busy.
    void settle(std::function<void()> done);

signals:
    void added(StreamItem* item);
    /// The item is destroyed after the signal.
    void removing(StreamItem* item);
    void cleared();
    void saved(bool isGood, const QString& error);
    /// A stream's state, or whether there are unsaved changes, may be another.
    void changed();

private:
    StreamItem* addItem(StreamSession& session);
    void onGone(StreamItem* item);
    void write(const std::string& path);
    void askAll(StreamItem::Asking asking, std::function<void()> done);

    const PluginLoader& loader;
    WorkspaceSessions workspace;
    std::vector<std::unique_ptr<StreamItem>> items; ///< of the workspace's sessions
    bool isClearing = false;
    bool isBeingSaved = false;
};

} // namespace Morvalin::App

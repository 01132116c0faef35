#pragma once

#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <morvalincore/Properties.h>
#include <morvalinlib/PluginLoader.h>

#include "session/StreamSession.h"

namespace Morvalin::App {

/// A workspace in memory: what its file holds, what a save would write, and the sessions of its
/// algorithm blocks. Blocks that nobody understands, and everything else in the file, stay as they
/// were read. One thread.
class WorkspaceSessions {
public:
    /// Empty and without a file. `plugins` outlives it.
    explicit WorkspaceSessions(const PluginLoader& plugins);

    /// Replaces the workspace by a file's, while it has no sessions. False, with one line that
    /// names the file and the fault and the workspace as it was, when it cannot be read.
    bool load(const std::string& path, std::string& error);
    /// Back to an empty workspace without a file. Sessions must have ended.
    void clear();

    /// Creates and configures the session of every block. A block that is no stream algorithm of
    /// the plug-ins, whose stream cannot be created, or that says something that does not fit, is
    /// left out and costs a line that begins with "FILE:LINE: ". Throws Refusal when a setting of
    /// the options does not fit.
    std::vector<std::string> createAll(const SessionOptions& options);
    /// Adds a block with its session. Throws Refusal, with nothing added.
    StreamSession& add(const std::string& algorithmId, const SessionOptions& options);
    const Sessions& sessions() const { return created; }
    /// The tool definition files that the blocks name, as whole paths.
    std::vector<std::string> toolFiles() const;

    /// Destroys a session; its block stays.
    void end(const StreamSession& session);
    /// Destroys a session and removes its block.
    void remove(const StreamSession& session);

    /// Writes the workspace with the settings that the sessions were told to keep; it belongs to
    /// that file from then on. Tools below the file's folder are named relative to it. False with
    /// one line on failure.
    bool save(const std::string& path, std::string& error);
    /// Likewise, with the settings that the streams have now.
    bool saveCurrent(const std::string& path, std::string& error);
    /// The file; empty for none.
    const std::string& path() const { return file; }
    /// A save would change what the file says.
    bool isModified() const;

private:
    std::list<Properties>& blocks();
    std::unique_ptr<StreamSession> createChecked(Properties& block,
                                                 std::vector<std::string>& problems);
    StreamSession& adopt(std::unique_ptr<StreamSession> session, const SessionOptions& options);
    std::string uniqueLabel(const std::string& name) const;

    const PluginLoader& plugins;
    Properties root;
    Properties saved;
    std::set<const Properties*> foreign; ///< blocks of root that nobody understands
    std::string file;
    Sessions created;
};

} // namespace Morvalin::App

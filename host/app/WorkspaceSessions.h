#pragma once

#include <memory>
#include <string>
#include <vector>

#include <morvalincore/Properties.h>
#include <morvalinlib/PluginLoader.h>

#include "app/SessionRunner.h"

namespace Morvalin::App {

/// A workspace and the sessions of its algorithm blocks. Main thread.
class WorkspaceSessions {
public:
    /// `root` holds the block "Algorithms".
    explicit WorkspaceSessions(Properties root);

    /// Creates and configures the session of every block. Throws Refusal.
    void createAll(const PluginLoader& plugins, const Options& options);

    /// Likewise, but a block that is no stream algorithm of the plug-ins, or whose stream cannot be
    /// created, only costs a line on standard error. A setting that does not fit is still refused.
    void createUnderstood(const PluginLoader& plugins, const Options& options);

    Sessions& sessions() { return created; }
    /// Every block has a session.
    bool isUnderstood() const { return areAllUnderstood; }

    /// Writes the workspace with the current settings of the streams; blocks without a session, and
    /// everything else in the workspace, stay as they were read. Prints why it failed.
    bool save(const std::string& path);

private:
    void add(std::unique_ptr<StreamSession> session, const Options& options, Properties& block);
    std::string uniqueLabel(const std::string& name) const;

    Properties root;
    Properties* algorithms = nullptr;
    Sessions created;
    std::vector<Properties*> blocks; ///< of each session, within the root
    bool areAllUnderstood = true;
};

} // namespace Morvalin::App

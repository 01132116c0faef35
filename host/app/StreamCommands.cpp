#include <string>

#include <morvalincore/GlobalSettings.h>
#include <morvalincore/Log.h>
#include <morvalinlib/Workspace.h>

#include "app/Commands.h"
#include "app/Plugins.h"
#include "app/Refusal.h"
#include "app/SessionRunner.h"
#include "app/Settings.h"
#include "app/WorkspaceSessions.h"

namespace Morvalin::App {

namespace {

/// Plug-ins ask for the settings while they are initialised.
void setSerialPorts(const std::vector<SerialPort>& ports) {
    if (ports.empty())
        return;
    GlobalSettings::modify([&](Properties& settings) {
        Properties& block = settings.addSubProperties("SerialPorts");
        for (const SerialPort& port : ports)
            block.setParam(port.name, port.path);
    });
}

/// Everything that can be wrong with files and is known before anything is opened.
void prepare(PluginLoader& plugins, const Options& options) {
    std::string error;
    checkToolFiles(options.tools);
    if (!options.saveFile.empty() && !Workspace::canSave(options.saveFile, error))
        throw Refusal(FileRefused, "workspace " + error);
    setSerialPorts(options.serialPorts);
    loadPlugins(plugins, options.plugins);
}

/// Streams until the end, saves while the streams are still open, and closes them.
int streamAll(WorkspaceSessions& workspace, const Options& options) {
    bool isSaved = true;
    SessionRunner runner(workspace.sessions(), options);
    runner.run();
    if (!options.saveFile.empty()) {
        runner.waitForBringUp();
        isSaved = workspace.save(options.saveFile);
    }
    runner.close();
    return isSaved && runner.succeeded() && workspace.isUnderstood() ? Done : StreamFailed;
}

} // namespace

int streamAlgorithm(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    Properties root(Workspace::rootName);
    root.addSubProperties(Workspace::algorithmsName).addSubProperties(options.subject);
    WorkspaceSessions workspace(std::move(root));
    workspace.createAll(plugins, options);
    return streamAll(workspace, options);
}

int runWorkspace(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    Properties root;
    std::string error;
    if (!Workspace::load(options.subject, root, error))
        throw Refusal(FileRefused, "workspace " + error);
    WorkspaceSessions workspace(std::move(root));
    workspace.createUnderstood(plugins, options);
    if (workspace.sessions().empty() && Log::isAccepted(Log::Warning))
        Log::log(Log::Warning, "Host", options.subject + " holds nothing that can be streamed");
    return streamAll(workspace, options);
}

} // namespace Morvalin::App

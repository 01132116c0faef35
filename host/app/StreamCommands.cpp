#include <string>

#include <morvalincore/Log.h>
#include <morvalinlib/Workspace.h>

#include "app/Commands.h"
#include "app/Diagnosis.h"
#include "app/Plugins.h"
#include "app/Refusal.h"
#include "app/SessionRunner.h"
#include "app/Settings.h"
#include "app/WorkspaceSessions.h"

namespace Morvalin::App {

namespace {

/// Everything that can be wrong with files and is known before anything is opened.
void prepare(PluginLoader& plugins, const Options& options) {
    std::string error;
    checkToolFiles(options.tools);
    if (!options.saveFile.empty() && !Workspace::canSave(options.saveFile, error))
        throw Refusal(FileRefused, "workspace " + error);
    setSerialPorts(options.serialPorts);
    loadPlugins(plugins, options.plugins);
}

/// The files that tell what passed. They outlive the streams, which may let go of a device as late
/// as in their destructors.
struct Reports {
    explicit Reports(const Options& options) : trace(options.traceFile), dump(options.dumpFile) {}

    TraceFile trace;
    DumpFile dump;
};

/// Streams until the end, saves and dumps while the streams are still open, and closes them.
int streamAll(WorkspaceSessions& workspace, Reports& reports, const Options& options) {
    reports.trace.attach(workspace.sessions());
    SessionRunner runner(workspace.sessions(), options);
    runner.run();
    bool areFilesWritten = true;
    if (!options.saveFile.empty() || !options.dumpFile.empty())
        runner.waitForBringUp();
    if (!options.saveFile.empty())
        areFilesWritten = workspace.save(options.saveFile);
    if (!options.dumpFile.empty())
        areFilesWritten = reports.dump.write(workspace.sessions()) && areFilesWritten;
    runner.close();
    areFilesWritten = reports.trace.isComplete() && areFilesWritten;
    return areFilesWritten && runner.succeeded() && workspace.isUnderstood() ? Done : StreamFailed;
}

} // namespace

int streamAlgorithm(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    Reports reports(options);
    Properties root(Workspace::rootName);
    root.addSubProperties(Workspace::algorithmsName).addSubProperties(options.subject);
    WorkspaceSessions workspace(std::move(root));
    workspace.createAll(plugins, options);
    return streamAll(workspace, reports, options);
}

int runWorkspace(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    Reports reports(options);
    Properties root;
    std::string error;
    if (!Workspace::load(options.subject, root, error))
        throw Refusal(FileRefused, "workspace " + error);
    WorkspaceSessions workspace(std::move(root));
    workspace.createUnderstood(plugins, options);
    if (workspace.sessions().empty() && Log::isAccepted(Log::Warning))
        Log::log(Log::Warning, "Host", options.subject + " holds nothing that can be streamed");
    return streamAll(workspace, reports, options);
}

} // namespace Morvalin::App

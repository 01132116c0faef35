#include "app/Commands.h"

#include <optional>
#include <string>

#include <morvalincore/LogText.h>

#include "app/Console.h"
#include "app/DeviceReports.h"
#include "app/OutputFiles.h"
#include "app/OutputSet.h"
#include "session/Refusal.h"
#include "session/StopNotice.h"
#include "session/WorkspaceSessions.h"

namespace Morvalin::App {

namespace {

/// The files that tell what passed. They outlive the streams, which may let go of a device as late
/// as in their destructors.
struct Reports {
    explicit Reports(const Options& options) : trace(options.traceFile), dump(options.dumpFile) {}

    TraceFile trace;
    DumpFile dump;
};

SessionRunner::Receiver receiverFor(OutputSet& outputs) {
    return {[&](const auto&... frame) { return outputs.frames().take(frame...); },
            [&](const auto&... event) { outputs.frames().note(event...); },
            [&] { outputs.hurry(); }, printError};
}

/// While the streams are still open.
bool save(WorkspaceSessions& workspace, const std::string& path) {
    std::string error;
    if (workspace.saveCurrent(path, error))
        return true;
    printError("the workspace could not be saved: " + error);
    return false;
}

/// Streams until the end, saves and dumps, and closes the streams.
ExitStatus streamAll(WorkspaceSessions& workspace, Reports& reports, const Options& options) {
    reports.trace.attach(workspace.sessions());
    OutputSet outputs(options);
    SessionRunner runner(workspace.sessions(), options.plan, receiverFor(outputs));
    const StopRequest stop([&] { runner.requestEnd(); }, [&] { outputs.stopForGood(); });
    runner.run();
    if (runner.wasAskedToEnd())
        logText(Log::Information, "Host", stopNotice(workspace.sessions()));
    if (!options.saveFile.empty() || !options.dumpFile.empty())
        runner.waitForBringUp();
    bool isGood = options.saveFile.empty() || save(workspace, options.saveFile);
    if (!options.dumpFile.empty())
        isGood = reports.dump.write(workspace.sessions()) && isGood;
    runner.close();
    isGood = reports.trace.isComplete() && isGood;
    isGood = outputs.finish() && isGood;
    return runner.status() == Done && !isGood ? StreamFailed : runner.status();
}

} // namespace

int listAlgorithms(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    std::string text;
    for (const AlgorithmFactory::Descriptor& algorithm : plugins.algorithms())
        text += algorithm.id + '\t' + algorithm.displayName + '\t' + algorithm.category + '\n';
    print(text, "the list");
    return Done;
}

int streamAlgorithm(const Options& options) {
    checkOutputFiles(options);
    PluginLoader plugins;
    prepare(plugins, options);
    Reports reports(options);
    WorkspaceSessions workspace(plugins);
    workspace.add(options.subject, options);
    return streamAll(workspace, reports, options);
}

int runWorkspace(const Options& options) {
    PluginLoader plugins;
    prepare(plugins, options);
    std::optional<Reports> reports;
    WorkspaceSessions workspace(plugins);
    std::string error;
    if (!workspace.load(options.subject, error))
        throw Refusal(FileRefused, "workspace " + error);
    checkOutputFiles(options, workspace.toolFiles());
    reports.emplace(options);
    const std::vector<std::string> problems = workspace.createAll(options);
    for (const std::string& problem : problems)
        printError(problem);
    if (workspace.sessions().empty())
        printError(options.subject + " holds nothing that can be streamed");
    const ExitStatus status = streamAll(workspace, *reports, options);
    const bool lacksBlocks = !problems.empty() || workspace.sessions().empty();
    return status == Done && lacksBlocks ? StreamFailed : status;
}

} // namespace Morvalin::App

#include "app/Commands.h"

#include <chrono>
#include <optional>
#include <string>

#include <morvalincore/LogText.h>

#include "app/Console.h"
#include "app/DeviceReports.h"
#include "app/OutputFiles.h"
#include "app/platform/StandardStreams.h"
#include "outputs/TextOutput.h"
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

/// Frames and events on standard output, as the options want them.
class FramePrinter {
public:
    explicit FramePrinter(const Options& options) :
        frames(options.json ? jsonFrame : readableFrame, options.events ? jsonEvent : nullptr,
               [this](std::string_view text) {
                   return output.write(text, error) == StandardOutput::Result::Written;
               }) {}

    SessionRunner::Receiver receiver() {
        return {[this](const auto&... frame) { return frames.take(frame...); },
                [this](const auto&... event) { frames.note(event...); }, [this] { output.hurry(); },
                printError};
    }

    /// Before the process ends: no line is cut in the middle if its reader is there.
    void stopForGood() { frames.stopForGood(std::chrono::milliseconds(100)); }

    /// True when every frame was written that somebody read. Once the streams are closed.
    bool succeeded() const {
        if (!error.empty())
            printError("the frames could not be written: " + error);
        return error.empty();
    }

private:
    StandardOutput output;
    std::string error;
    TextOutput frames;
};

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
    FramePrinter printer(options);
    SessionRunner runner(workspace.sessions(), options.plan, printer.receiver());
    const StopRequest stop([&] { runner.requestEnd(); }, [&] { printer.stopForGood(); });
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
    isGood = printer.succeeded() && isGood;
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

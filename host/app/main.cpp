#include <clocale>
#include <exception>

#include <morvalincore/Log.h>

#include "app/Commands.h"
#include "app/Console.h"
#include "app/PluginFolder.h"
#include "app/platform/StandardStreams.h"
#include "session/LogLines.h"
#include "session/Refusal.h"
#include "session/StreamSession.h"

namespace Morvalin::App {

namespace {

int execute(Options options) {
    Log::setLevel(options.logLevel);
    LogLines log(
        [withTime = options.logTime](const LogLine& line) { printLogLine(line, withTime); });
    log.observe(StreamSession::noteLine);
    if (options.plugins.empty() && options.command != Command::Version &&
        options.command != Command::Play)
        options.plugins = defaultPlugins();
    switch (options.command) {
    case Command::List:
        return listAlgorithms(options);
    case Command::Ports:
        return listPorts(options);
    case Command::Stream:
        return streamAlgorithm(options);
    case Command::Run:
        return runWorkspace(options);
    case Command::Play:
        return playRecording(options);
    case Command::Window:
        return runWindow(options);
    case Command::Version:
        return printVersion();
    case Command::Describe:
        return describeAlgorithm(options);
    }
    return WrongUsage;
}

int runProgram(int argc, char** argv) {
    const auto parsed = parseCommandLine(argc, argv);
    if (const auto* const options = std::get_if<Options>(&parsed))
        return execute(*options);
    print(std::get<HelpText>(parsed).text, "the help");
    return Done;
}

} // namespace

} // namespace Morvalin::App

int main(int argc, char** argv) {
    using namespace Morvalin::App;
    prepareStandardStreams();
    // File names of any letters; numbers stay as in the "C" locale.
    std::setlocale(LC_CTYPE, "");
    try {
        return runProgram(argc, argv);
    } catch (const Refusal& refusal) {
        printError(refusal.what());
        return refusal.status();
    } catch (const std::exception& exception) {
        printError(exception.what());
    } catch (...) {
        printError("a plug-in failed in an unknown way");
    }
    return StreamFailed;
}

#include <clocale>
#include <exception>

#include <morvalincore/Log.h>

#include "app/Commands.h"
#include "app/Refusal.h"
#include "app/platform/StandardStreams.h"

namespace Morvalin::App {

namespace {

int printHelp(const std::string& text) {
    StandardOutput output;
    std::string error;
    if (output.write(text, error) == StandardOutput::Result::Failed)
        throw Refusal(StreamFailed, "the help could not be written: " + error);
    return Done;
}

int execute(const Options& options) {
    Log::setLevel(options.logLevel);
    switch (options.command) {
    case Command::List:
        return listAlgorithms(options);
    case Command::Stream:
        return streamAlgorithm(options);
    case Command::Run:
        return runWorkspace(options);
    case Command::Window:
        return runWindow(options);
    }
    return WrongUsage;
}

int runProgram(int argc, char** argv) {
    const auto parsed = parseCommandLine(argc, argv);
    if (const auto* const help = std::get_if<HelpText>(&parsed))
        return printHelp(help->text);
    return execute(std::get<Options>(parsed));
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

#include <algorithm>
#include <clocale>
#include <exception>
#include <filesystem>
#include <system_error>

#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/dll/shared_library.hpp>

#include <morvalincore/FilePath.h>
#include <morvalincore/Log.h>

#include "app/Commands.h"
#include "app/Console.h"
#include "app/platform/StandardStreams.h"
#include "session/Refusal.h"

namespace Morvalin::App {

namespace {

namespace fs = std::filesystem;

fs::path defaultFolder() {
    return boost::dll::program_location().parent_path().parent_path() / "plugins";
}

/// The plug-ins in the folder "plugins" beside the program's own, sorted by name.
std::vector<std::string> defaultPlugins() {
    const fs::path folder = defaultFolder();
    std::vector<std::string> files;
    std::error_code ignored; // a folder that is missing holds no plug-ins
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored))
        if (entry.path().extension() == boost::dll::shared_library::suffix())
            files.push_back(toText(entry.path()));
    if (files.empty())
        throw Refusal(FileRefused,
                      "there is no plug-in in " + toText(folder) + "; name one with --plugin");
    std::sort(files.begin(), files.end());
    return files;
}

int execute(Options options) {
    Log::setLevel(options.logLevel);
    LogLines log([withTime = options.logTime](const LogLine& line) { printLogLine(line, withTime); });
    if (options.plugins.empty())
        options.plugins = defaultPlugins();
    switch (options.command) {
    case Command::List:
        return listAlgorithms(options);
    case Command::Stream:
        return streamAlgorithm(options, log);
    case Command::Run:
        return runWorkspace(options, log);
    case Command::Window:
        return runWindow(options);
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

#include "app/PluginFolder.h"

#include <algorithm>
#include <system_error>

#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/dll/shared_library.hpp>

#include <morvalincore/FilePath.h>

#include "session/Refusal.h"

namespace Morvalin::App {

namespace fs = std::filesystem;

namespace {

fs::path pluginFolder() {
    return boost::dll::program_location().parent_path().parent_path() / "plugins";
}

} // namespace

std::vector<std::string> defaultPlugins() {
    const fs::path folder = pluginFolder();
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

} // namespace Morvalin::App

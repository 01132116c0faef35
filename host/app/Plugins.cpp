#include "app/Plugins.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/dll/shared_library.hpp>

#include <morvalincore/GlobalSettings.h>

#include "app/Refusal.h"
#include <morvalincore/FilePath.h>

namespace Morvalin::App {

namespace {

namespace fs = std::filesystem;

fs::path defaultFolder() {
    return boost::dll::program_location().parent_path().parent_path() / "plugins";
}

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

} // namespace

void setSerialPorts(const std::vector<SerialPort>& ports) {
    if (ports.empty())
        return;
    GlobalSettings::modify([&](Properties& settings) {
        Properties& block = settings.addSubProperties("SerialPorts");
        for (const SerialPort& port : ports)
            block.setParam(port.name, port.path);
    });
}

void loadPlugins(PluginLoader& loader, const std::vector<std::string>& named) {
    for (const std::string& file : named.empty() ? defaultPlugins() : named) {
        std::string error;
        if (!loader.load(file, error))
            throw Refusal(FileRefused, "plug-in " + error);
    }
}

} // namespace Morvalin::App

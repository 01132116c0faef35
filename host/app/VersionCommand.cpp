#include <QtGlobal>

#include <morvalincore/ControlCharacters.h>

#include "app/BuildInformation.h"
#include "app/Commands.h"
#include "app/Console.h"
#include "app/PluginFolder.h"
#include "session/Refusal.h"

namespace Morvalin::App {

namespace {

std::string programLine() {
    const std::string revision = buildInformation.revision;
    return std::string("morvalin-host ") + buildInformation.version +
           (revision.empty() ? "" : " (" + revision + ")") + ", build type " +
           buildInformation.buildType + ", Qt " + qVersion() + '\n';
}

std::string loadedLine(const PluginLoader::LoadedPlugin& loaded) {
    return "plug-in " + loaded.id + (loaded.version.empty() ? "" : " " + loaded.version) + ": " +
           loaded.path + '\n';
}

std::string refusedLine(std::string error) {
    replaceControlCharacters(error, ' ');
    return "plug-in not loaded: " + error + '\n';
}

std::string pluginLines() {
    PluginLoader plugins;
    std::string text;
    try {
        for (const std::string& file : defaultPlugins()) {
            std::string error;
            text += plugins.load(file, error) ? loadedLine(plugins.plugins().back())
                                              : refusedLine(error);
        }
    } catch (const Refusal& refusal) {
        text += std::string("no plug-ins: ") + refusal.what() + '\n';
    }
    return text;
}

} // namespace

int printVersion() {
    print(programLine() + pluginLines(), "the version");
    return Done;
}

} // namespace Morvalin::App

#include <morvalinlib/PluginLoader.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <boost/dll/shared_library.hpp>

#include <morvalincore/FilePath.h>
#include <morvalincore/LogText.h>

#include "morvalinlib/platform/LibraryFile.h"

namespace Morvalin {

namespace {

using boost::dll::shared_library;

using CreateFunction = PluginBase*();
using IdFunction = const char*();

constexpr std::string_view builtInPlugin = "Morvalin.Stream";

/// Why a plug-in is refused.
struct LoadError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string inQuotes(const std::string& text) {
    return "\"" + text + "\"";
}

/// The system's own words, which the library wraps into its own.
std::string systemMessage(const std::system_error& error) {
    const std::string text = error.what();
    const std::string_view marker = "system message: ";
    const std::size_t begin = text.find(marker);
    const std::size_t end = text.rfind(')');
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        return error.code().message();
    return text.substr(begin + marker.size(), end - begin - marker.size());
}

/// All symbols are resolved at once: one that is missing would otherwise end the process when it is
/// first called.
shared_library openLibrary(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (!std::filesystem::exists(status))
        throw LoadError("no such file");
    if (!std::filesystem::is_regular_file(status))
        throw LoadError("not a file");
    if (const std::string fault = libraryFileFault(path); !fault.empty())
        throw LoadError("not a loadable library: " + fault);
    try {
        return shared_library(path, boost::dll::load_mode::rtld_now);
    } catch (const std::system_error& error) {
        throw LoadError("not a loadable library: " + systemMessage(error));
    }
}

/// Keeps the library for the rest of the process.
void keepResident(const shared_library& library) {
    static auto* const resident = new std::vector<shared_library>;
    resident->push_back(library);
}

/// Checks the text that tells plug-ins from other libraries and returns it.
std::string readDescriptor(const shared_library& library) {
    constexpr const char* name = "morvalinPluginDescriptor";
    const char* const text = library.has(name) ? library.get<const char* const>(name) : nullptr;
    if (text == nullptr)
        throw LoadError("not a plug-in: it has no descriptor");
    if (!std::string_view(text).starts_with(PluginLoader::descriptorMagic))
        throw LoadError("not a plug-in for this version of the host: its descriptor does not begin "
                        "with " +
                        inQuotes(PluginLoader::descriptorMagic));
    return text;
}

/// One of the pieces "key=value" of a descriptor, which are divided by bars.
std::string descriptorValue(const std::string& descriptor, const std::string& key) {
    const std::string marker = "|" + key + "=";
    const std::size_t found = descriptor.find(marker);
    if (found == std::string::npos)
        return {};
    const std::size_t begin = found + marker.size();
    return descriptor.substr(begin, descriptor.find('|', begin) - begin);
}

template <class Function>
Function* function(const shared_library& library, const char* name) {
    if (!library.has(name))
        throw LoadError(std::string("the plug-in lacks the function ") + name);
    return &library.get<Function>(name);
}

std::string readId(IdFunction* pluginId) {
    const char* const id = pluginId();
    if (id == nullptr || *id == '\0')
        throw LoadError("the plug-in has no id");
    return id;
}

PluginLoader::Pointer createPlugin(CreateFunction* create) {
    try {
        if (auto plugin = PluginLoader::Pointer(create()))
            return plugin;
    } catch (const std::exception& exception) {
        throw LoadError(std::string("the plug-in could not be created: ") + exception.what());
    } catch (...) {
    }
    throw LoadError("the plug-in could not be created");
}

void initialise(PluginBase& plugin) {
    int result = 0;
    try {
        result = plugin.init();
    } catch (const std::exception& exception) {
        throw LoadError(std::string("the plug-in failed to initialise: ") + exception.what());
    } catch (...) {
        throw LoadError("the plug-in failed to initialise");
    }
    if (result != 0)
        throw LoadError("the plug-in failed to initialise (result " + std::to_string(result) + ")");
}

AlgorithmFactory* algorithmFactory(const PluginLoader::LoadedPlugin& entry) {
    const auto* const plugin = dynamic_cast<const MorvalinLibPlugin*>(entry.plugin.get());
    return plugin == nullptr ? nullptr : plugin->algorithmFactory();
}

} // namespace

void PluginLoader::Deleter::operator()(PluginBase* plugin) const {
    if (auto* const libPlugin = dynamic_cast<MorvalinLibPlugin*>(plugin))
        libPlugin->releaseFactories();
    delete plugin;
}

PluginLoader::PluginLoader() = default;

PluginLoader::~PluginLoader() {
    while (!loaded.empty())
        loaded.pop_back();
}

bool PluginLoader::load(const std::string& path, std::string& error) {
    try {
        loaded.push_back(loadOrThrow(path));
        return true;
    } catch (const std::exception& exception) {
        error = path + ": " + exception.what();
        return false;
    }
}

PluginLoader::LoadedPlugin PluginLoader::loadOrThrow(const std::string& path) const {
    const shared_library library = openLibrary(toPath(path));
    const std::string descriptor = readDescriptor(library);
    auto* const pluginId = function<IdFunction>(library, "morvalinPluginId");
    auto* const create = function<CreateFunction>(library, "morvalinCreatePlugin");
    keepResident(library);

    LoadedPlugin result{readId(pluginId), path, descriptorValue(descriptor, "pluginversion"),
                        nullptr};
    if (isAvailable(result.id))
        throw LoadError("a plug-in with the id " + inQuotes(result.id) + " is already loaded");
    result.plugin = createPlugin(create);
    checkDependencies(*result.plugin);
    initialise(*result.plugin);
    logText(Log::Detail, "PluginLoader", "Loaded ", result.id, " from ", path, " (", descriptor,
            ")");
    return result;
}

bool PluginLoader::isAvailable(const std::string& id) const {
    return id == builtInPlugin ||
           std::any_of(loaded.begin(), loaded.end(),
                       [&](const LoadedPlugin& entry) { return entry.id == id; });
}

void PluginLoader::checkDependencies(const PluginBase& plugin) const {
    for (const std::string& dependency : plugin.dependencies())
        if (!isAvailable(dependency))
            throw LoadError("the plug-in needs the plug-in " + inQuotes(dependency) +
                            ", which is not loaded");
}

std::vector<AlgorithmFactory::Descriptor> PluginLoader::algorithms() const {
    std::vector<AlgorithmFactory::Descriptor> result;
    for (const LoadedPlugin& entry : loaded) {
        const AlgorithmFactory* const factory = algorithmFactory(entry);
        if (factory == nullptr || !factory->isOffered())
            continue;
        const auto descriptors = factory->algorithmDescriptors();
        result.insert(result.end(), descriptors.begin(), descriptors.end());
    }
    return result;
}

std::unique_ptr<Algorithm> PluginLoader::instantiate(const std::string& id) const {
    for (const LoadedPlugin& entry : loaded) {
        AlgorithmFactory* const factory = algorithmFactory(entry);
        if (factory != nullptr && !factory->algorithmDescriptor(id).id.empty())
            return factory->instantiateAlgorithm(id, {});
    }
    return nullptr;
}

} // namespace Morvalin

#pragma once

#include <memory>
#include <string>
#include <vector>

#include <morvalinlib/MorvalinLibPlugin.h>

namespace Morvalin {

/// Loads plug-ins and keeps them. A library that was loaded stays until the process ends, because
/// registries and signals hold code of it; the plug-in objects are destroyed with the loader.
///
/// A plug-in library exports, with plain names:
///
///     PluginBase* morvalinCreatePlugin();        creates the plug-in, which the loader owns
///     const char* morvalinPluginId();            its id, such as "Morvalin.NDI"
///     const char* morvalinPluginDescriptor;      a text that begins with descriptorMagic
class MORVALINLIB_EXPORT PluginLoader {
public:
    static constexpr const char* descriptorMagic = "__MORVALIN_PLUGIN_V2_MAGIC_STRING__";

    PluginLoader();
    ~PluginLoader();
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    /// Opens the library, checks its descriptor and its dependencies against the plug-ins loaded so
    /// far and those built into the host ("Morvalin.Stream"), creates the plug-in and calls its
    /// init(). On failure returns false and sets `error` to one line that names the file and the
    /// fault.
    bool load(const std::string& path, std::string& error);

    struct LoadedPlugin {
        std::string id;
        std::string path;
        std::unique_ptr<PluginBase> plugin;
    };
    const std::vector<LoadedPlugin>& plugins() const { return loaded; }

    /// Descriptors of all algorithms, in the order in which the plug-ins were loaded.
    std::vector<AlgorithmFactory::Descriptor> algorithms() const;
    /// Asks the factory that knows the id; null when none does or it makes nothing.
    std::unique_ptr<Algorithm> instantiate(const std::string& id) const;

private:
    bool checkDependencies(const PluginBase& plugin, const std::string& path,
                           std::string& error) const;

    std::vector<LoadedPlugin> loaded;
};

} // namespace Morvalin

#pragma once

#include <memory>
#include <string>
#include <vector>

#include <morvalinlib/MorvalinLibPlugin.h>

namespace Morvalin {

/// Loads plug-ins and keeps them. Used by one thread at a time.
///
/// A library that was loaded stays until the process ends, because registries and signals hold code
/// of it. The plug-in objects are destroyed with the loader, the last one first, the factories of
/// each before the plug-in itself; algorithms and controllers must be gone by then.
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

    /// Opens the library, checks its descriptor and that its id is not loaded already, creates the
    /// plug-in, checks its dependencies against the plug-ins loaded so far and those built into the
    /// host ("Morvalin.Stream"), and calls its init(). On failure returns false and sets `error` to
    /// one line that names the file and the fault: not found, not a library, no plug-in, made for
    /// another version of this interface, a function missing, a dependency missing, or failed while
    /// it was created or initialised. Never throws.
    bool load(const std::string& path, std::string& error);

    /// Destroys the factories of a plug-in, then the plug-in.
    struct MORVALINLIB_EXPORT Deleter {
        void operator()(PluginBase* plugin) const;
    };
    using Pointer = std::unique_ptr<PluginBase, Deleter>;

    struct LoadedPlugin {
        std::string id;
        std::string path;
        std::string version; ///< as its descriptor says; mostly empty
        Pointer plugin;
    };
    const std::vector<LoadedPlugin>& plugins() const { return loaded; }

    /// Descriptors of all algorithms that are offered, in the order in which the plug-ins were
    /// loaded.
    std::vector<AlgorithmFactory::Descriptor> algorithms() const;
    /// Asks the factory that knows the id; null when none does or it makes nothing.
    std::unique_ptr<Algorithm> instantiate(const std::string& id) const;

private:
    bool isAvailable(const std::string& id) const;
    LoadedPlugin loadOrThrow(const std::string& path) const;
    void checkDependencies(const PluginBase& plugin) const;

    std::vector<LoadedPlugin> loaded;
};

} // namespace Morvalin

#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <morvalincore/Properties.h>
#include <morvalinlib/Export.h>

namespace Morvalin {

/// Brings workspaces of older versions up to date.
struct WorkspaceConversionFunction {
    std::string description;
    int version = 0; ///< format version that the conversion brings a workspace to
    /// Changes the workspace's root block; true when something changed.
    std::function<bool(Properties& root, const std::string& path)> function;
};

/// All conversions of the process. Any thread. Never destroyed: conversions are code of plug-ins,
/// which stay loaded until the process ends.
class MORVALINLIB_EXPORT WorkspaceConversionRegistry {
public:
    static WorkspaceConversionRegistry& instance();

    void addConversion(WorkspaceConversionFunction conversion);
    /// Runs every conversion in the order of registration on a workspace that was read from `path`;
    /// true when one of them changed something. What a conversion throws is passed on.
    bool convert(Properties& root, const std::string& path) const;
    std::vector<WorkspaceConversionFunction> conversions() const;

private:
    WorkspaceConversionRegistry() = default;

    mutable std::mutex mutex;
    std::vector<WorkspaceConversionFunction> registered;
};

} // namespace Morvalin

#include <morvalinlib/WorkspaceConversionRegistry.h>

#include <utility>

#include <morvalincore/LogText.h>

namespace Morvalin {

WorkspaceConversionRegistry& WorkspaceConversionRegistry::instance() {
    static auto* const registry = new WorkspaceConversionRegistry;
    return *registry;
}

void WorkspaceConversionRegistry::addConversion(WorkspaceConversionFunction conversion) {
    const std::lock_guard lock(mutex);
    registered.push_back(std::move(conversion));
}

bool WorkspaceConversionRegistry::convert(Properties& root, const std::string& path) const {
    bool changed = false;
    for (const WorkspaceConversionFunction& conversion : conversions()) {
        if (!conversion.function || !conversion.function(root, path))
            continue;
        changed = true;
        logText(Log::Information, "Workspace", path, ": ", conversion.description);
    }
    return changed;
}

std::vector<WorkspaceConversionFunction> WorkspaceConversionRegistry::conversions() const {
    const std::lock_guard lock(mutex);
    return registered;
}

} // namespace Morvalin

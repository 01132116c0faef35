#include <morvalincore/GlobalSettings.h>

#include <mutex>
#include <utility>

namespace Morvalin {
namespace {

struct Settings {
    std::mutex mutex;
    Properties properties;
};

Settings& settings() {
    static Settings instance;
    return instance;
}

} // namespace

Properties GlobalSettings::snapshot() {
    const std::lock_guard lock(settings().mutex);
    return settings().properties;
}

void GlobalSettings::modify(const std::function<void(Properties&)>& change) {
    const std::lock_guard lock(settings().mutex);
    Properties changed = settings().properties;
    change(changed);
    settings().properties = std::move(changed);
}

} // namespace Morvalin

// A plug-in made from the host's public headers alone.

#include <stdexcept>

#include <morvalincore/GlobalSettings.h>
#include <morvalinlib/CreateStreamIoAlgorithm.h>
#include <morvalinlib/MorvalinLibPlugin.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

#include "tests/app/plugin/ScriptedStream.h"

namespace Scripted {

using namespace Morvalin;

namespace {

struct UnbuildableStream : ScriptedStream {
    UnbuildableStream() { throw std::runtime_error("out of trackers"); }
};

/// An algorithm that makes no stream.
struct Report : Algorithm {
    void compute() override {}
};

struct Factory : AlgorithmFactory {
    Factory() : AlgorithmFactory("Scripted", true) {
        add<CreateStreamIoAlgorithm<ScriptedStream>>("IO;Scripted;Tracker", "TrackerStream");
        add<CreateStreamIoAlgorithm<UnbuildableStream>>("IO;Scripted;Unbuildable", "Unbuildable");
        add<Report>("Reports;Report", "Report");
    }
    ~Factory() override { trace("factory destroyed"); }

private:
    template <class Made>
    void add(const std::string& category, const std::string& registeredName) {
        registerAlgorithm(
            category, registeredName, [](const DataList& input) { return input.empty(); },
            [](const Entry&, const DataList&) { return std::make_unique<Made>(); });
    }
};

bool renameOldTracker(Properties& root, const std::string&) {
    bool changed = false;
    if (Properties* const algorithms = root.subProperties("Algorithms"))
        for (Properties& block : algorithms->children())
            if (block.name() == "Scripted.OldTracker") {
                block.setName("Scripted.TrackerStream");
                changed = true;
            }
    return changed;
}

struct ScriptedPlugin : MorvalinLibPlugin {
    ~ScriptedPlugin() override { trace("plugin destroyed"); }
    std::string vendorName() const override { return "Tests"; }
    std::string description() const override { return "Streams without devices"; }
    std::vector<std::string> dependencies() const override { return {"Morvalin.Stream"}; }
    int init() override {
        const Properties settings = GlobalSettings::snapshot();
        if (const Properties* const ports = settings.subProperties("SerialPorts"))
            for (const auto& port : ports->params())
                trace("port " + port.key + " " + port.value);
        registerFactories(std::make_unique<Factory>(), nullptr);
        WorkspaceConversionRegistry::instance().addConversion(
            {"Renamed OldTracker", 1, renameOldTracker});
        return 0;
    }
};

} // namespace

} // namespace Scripted

extern "C" {
BOOST_SYMBOL_EXPORT Morvalin::PluginBase* morvalinCreatePlugin() {
    return new Scripted::ScriptedPlugin;
}
BOOST_SYMBOL_EXPORT const char* morvalinPluginId() {
    return "Tests.Scripted";
}
BOOST_SYMBOL_EXPORT extern const char* const morvalinPluginDescriptor;
const char* const morvalinPluginDescriptor = "__MORVALIN_PLUGIN_V2_MAGIC_STRING__|tests";
}

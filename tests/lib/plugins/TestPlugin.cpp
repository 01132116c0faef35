// A plug-in whose identity and behaviour the build gives.

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include <boost/config.hpp>

#include <morvalinlib/CreateStreamIoAlgorithm.h>
#include <morvalinlib/MorvalinLibPlugin.h>

namespace {

using namespace Morvalin;

const std::string behaviour = TEST_PLUGIN_BEHAVIOUR;

void trace(const std::string& line) {
    if (const char* const path = std::getenv("TEST_PLUGIN_TRACE"))
        std::ofstream(path, std::ios::app) << TEST_PLUGIN_ID " " + line + "\n";
}

/// An algorithm that makes no stream.
struct Report : Algorithm {
    void compute() override {}
};

/// A stream that opens but does not start.
struct Stubborn : Stream {
    Stubborn() : Stream("Stubborn") {}
    ~Stubborn() override { closeForGood(); }
    std::string uuid() const override { return "Stubborn"; }
    bool openImpl() override { return true; }
    bool closeImpl() override { return true; }
    bool startImpl() override { return false; }
    bool stopImpl() override { return true; }
    std::optional<WorkContinuation> doWork() override { return std::nullopt; }
};

struct TracingFactory : AlgorithmFactory {
    TracingFactory() : AlgorithmFactory(TEST_PLUGIN_ID, behaviour != "hidden") {
        registerAlgorithm("Tests;Nothing", "Nothing", {}, {});
        add<Report>("Report");
        add<CreateStreamIoAlgorithm<Stubborn>>("Stubborn");
    }
    template <class Made>
    void add(const std::string& name) {
        registerAlgorithm(
            "Tests", name, [](const DataList&) { return true; },
            [](const Entry&, const DataList&) { return std::make_unique<Made>(); });
    }
    ~TracingFactory() override { trace("factory destroyed"); }
};

struct TestPlugin : MorvalinLibPlugin {
    TestPlugin() {
        if (behaviour == "throw when created")
            throw std::runtime_error("no room");
    }
    ~TestPlugin() override { trace("destroyed"); }
    std::string vendorName() const override { return "Tests"; }
    std::string description() const override { return "Nothing"; }
    std::vector<std::string> dependencies() const override {
        return {"Morvalin.Stream", TEST_PLUGIN_DEPENDENCY};
    }
    int init() override {
        registerFactories(std::make_unique<TracingFactory>(), nullptr);
        if (behaviour == "throw in init")
            throw std::runtime_error("no licence");
        return behaviour == "fail in init" ? 7 : 0;
    }
};

} // namespace

extern "C" {
BOOST_SYMBOL_EXPORT Morvalin::PluginBase* morvalinCreatePlugin() {
    return behaviour == "create nothing" ? nullptr : new TestPlugin;
}
BOOST_SYMBOL_EXPORT const char* morvalinPluginId() {
    return TEST_PLUGIN_ID;
}
BOOST_SYMBOL_EXPORT extern const char* const morvalinPluginDescriptor;
const char* const morvalinPluginDescriptor = "__MORVALIN_PLUGIN_V2_MAGIC_STRING__|tests";
}

#include <morvalincore/GlobalSettings.h>
#include <morvalincore/PropertiesXml.h>
#include <morvalinlib/MorvalinLibPlugin.h>
#include <morvalinlib/PluginLoader.h>
#include <morvalinlib/StreamIoAlgorithm.h>
#include <morvalinlib/Workspace.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <dlfcn.h>

#include "tests/host/LogCapture.h"
#include "tests/lib/TemporaryFolder.h"

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const char* const vegaId = "NDITracking.PolarisVegaTrackingStream";
const char* const vicraId = "NDITracking.PolarisVicraTrackingStream";
const char* const auroraId = "NDITracking.AuroraTrackingStream";
const char* const legacyId = "NDITracking.PolarisAuroraTrackingStream";

class Plugin : public testing::Test {
protected:
    Plugin() {
        std::string error;
        EXPECT_TRUE(loader.load(MODULE_FILE, error)) << error;
    }
    MorvalinLibPlugin& plugin() const {
        return dynamic_cast<MorvalinLibPlugin&>(*loader.plugins().at(0).plugin);
    }

    PluginLoader loader;
};

TEST_F(Plugin, SaysWhatItIs) {
    EXPECT_EQ(loader.plugins().at(0).id, "Morvalin.NDI");
    EXPECT_FALSE(plugin().vendorName().empty());
    EXPECT_EQ(plugin().description(), "Plugin for real-time streaming from NDI tracking systems");
    EXPECT_THAT(plugin().dependencies(), ElementsAre("Morvalin.Stream"));

    void* const library = dlopen(MODULE_FILE, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr);
    EXPECT_STREQ(*static_cast<const char* const*>(dlsym(library, "morvalinPluginDescriptor")),
                 "__MORVALIN_PLUGIN_V2_MAGIC_STRING__|hostversion=4.4.6|"
                 "buildflags=MSC_VER:1929,IDL:0|pluginversion=");
    dlclose(library);
}

TEST_F(Plugin, ExportsThreeNames) {
    FILE* const list = popen(NM " -D --defined-only " MODULE_FILE, "r");
    ASSERT_NE(list, nullptr);
    std::string text;
    for (int character = std::fgetc(list); character != EOF; character = std::fgetc(list))
        text += static_cast<char>(character);
    EXPECT_EQ(pclose(list), 0);
    std::vector<std::string> names;
    std::istringstream words(text);
    for (std::string address, kind, name; words >> address >> kind >> name;)
        names.push_back(name.substr(0, name.find('@')));
    EXPECT_THAT(names, UnorderedElementsAre("morvalinCreatePlugin", "morvalinPluginId",
                                            "morvalinPluginDescriptor"));
}

TEST_F(Plugin, OffersTheThreeFamilies) {
    AlgorithmFactory& factory = *plugin().algorithmFactory();
    EXPECT_EQ(factory.name(), "NDITracking");
    EXPECT_EQ(plugin().controllerFactory()->name(), "NDITracking");
    EXPECT_EQ(factory.compatibleIoDescriptors(DataList()).size(), 3u);
    for (const auto& [id, displayName] : {std::pair{vegaId, "Polaris Vega/Lyra"},
                                          {vicraId, "Polaris Vicra/Spectra"},
                                          {auroraId, "Aurora"}}) {
        std::unique_ptr<IoAlgorithm> algorithm;
        for (const char* const device : {"global", "stored"}) { // applied to every new algorithm
            Properties settings;
            settings.setParam("hardwareDevice", device);
            if (algorithm == nullptr)
                GlobalSettings::modify(
                    [&](Properties& all) { all.addSubProperties(id).copyFrom(settings); });
            else
                EXPECT_TRUE(factory.setStoredConfiguration(id, settings));
            algorithm = factory.instantiateIoAlgorithm(id, {});
            ASSERT_TRUE(algorithm);
            Properties stored;
            algorithm->configuration(&stored);
            EXPECT_EQ(stored, settings);
        }
        EXPECT_EQ(algorithm->factoryInfo().id, id);
        EXPECT_EQ(algorithm->name(), displayName);
        algorithm->compute();
        EXPECT_EQ(algorithm->status(), IoAlgorithm::Success);
        EXPECT_NE(dynamic_cast<StreamIoAlgorithm&>(*algorithm).stream(), nullptr);
    }
    DataList input;
    input.add(nullptr);
    EXPECT_THAT(factory.compatibleDescriptors(input), IsEmpty());
    EXPECT_EQ(factory.instantiateAlgorithm(vegaId, input), nullptr);
    EXPECT_EQ(plugin().controllerFactory()->create(nullptr), nullptr);
}

TEST_F(Plugin, ConvertsOldWorkspacesAsTheyAreLoaded) {
    const struct {
        const char* name;
        const char* systemType; ///< null for none
        const char* converted;
    } table[] = {
        {legacyId, "1", vegaId}, // the other types: in the tests of the program
        {legacyId, "3", legacyId},
        {legacyId, "-1", legacyId},
        {legacyId, "one", legacyId},
        {legacyId, nullptr, legacyId},
        {"NDITracking.PolarisAuroraTrackingStream2", "1",
         "NDITracking.PolarisAuroraTrackingStream2"},
        {"nditracking.PolarisAuroraTrackingStream", "1", "nditracking.PolarisAuroraTrackingStream"},
        {vegaId, "0", vegaId},
    };
    auto& registry = WorkspaceConversionRegistry::instance();
    EXPECT_EQ(registry.conversions().at(0).version, 33);
    // Behind the plug-in's own; it stays for the rest of the process.
    static bool isFailing = false;
    registry.addConversion({"Later step", 34, [](Properties& root, const std::string& path) {
                                const std::string first =
                                    root.children().front().children().front().name();
                                root.setParam("later", path + first);
                                if (isFailing)
                                    throw std::runtime_error("conversion failed");
                                return first == vegaId;
                            }});
    Properties old(Workspace::rootName);
    const TemporaryFolder folder;
    EXPECT_FALSE(registry.conversions().at(0).function(old, ""));
    Properties expected = old;
    Properties& before = old.addSubProperties(Workspace::algorithmsName);
    Properties& after = expected.addSubProperties(Workspace::algorithmsName);
    for (const auto& row : table) {
        Properties& block = before.addSubProperties(row.name);
        block.setParam("startAfterInit", true);
        if (row.systemType != nullptr)
            block.setParam("systemType", row.systemType);
        after.addSubProperties(row.converted).copyFrom(block);
    }
    const std::string path = folder.write("w.xml", toXml(old));
    expected.setParam("later", path + vegaId);
    LogCapture log;
    Properties loaded;
    std::string error;
    ASSERT_TRUE(Workspace::load(path, loaded, error)) << error;
    EXPECT_EQ(loaded, expected) << toXml(loaded);
    EXPECT_THAT(log.take(),
                ElementsAre("[2] Workspace: " + path + ": Renamed PolarisAuroraTrackingStream to " +
                                "camera-specific TrackingStream",
                            "[2] Workspace: " + path + ": Later step"));
    isFailing = true;
    EXPECT_FALSE(Workspace::load(path, loaded, error));
    EXPECT_THAT(error, testing::HasSubstr("conversion failed"));
    isFailing = false;
}

} // namespace
} // namespace Morvalin

#include <morvalinlib/PluginLoader.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/LogCapture.h"
#include "tests/lib/TemporaryFolder.h"

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string module(const std::string& name) {
    return TEST_PLUGIN_FOLDER "/" + name + TEST_PLUGIN_SUFFIX;
}

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(PluginLoader, RefusalsTellTheFaultInOneLine) {
    const TemporaryFolder folder;
    const std::string whole = contents(module("first"));
    const std::pair<std::string, const char*> cases[] = {
        {folder.path / "none.so", "no such file"},
        {folder.path, "not a file"},
        {folder.write("text.so", "plain text"), "not a loadable library"},
        {folder.write("empty.so", ""), "not a loadable library"},
        {folder.write("head.so", whole.substr(0, 40)), "not a loadable library"},
        {folder.write("half.so", whole.substr(0, whole.size() / 2)), "the file ends too early"},
        {folder.write("most.so", whole.substr(0, whole.size() - 1)), "the file ends too early"},
        {module("unresolved"), "symbolThatNobodyHas"},
        {HOST_LIBRARY, "not a plug-in: it has no descriptor"},
        {module("other_version"), "not a plug-in for this version of the host"},
        {module("no_functions"), "lacks the function morvalinCreatePlugin"},
        {module("second"), "needs the plug-in \"Tests.first\", which is not loaded"},
        {module("init_fails"), "failed to initialise (result 7)"},
        {module("init_throws"), "failed to initialise: no licence"},
        {module("create_throws"), "could not be created: no room"},
        {module("create_nothing"), "could not be created"},
    };
    PluginLoader loader;
    for (const auto& [path, fault] : cases) {
        std::string error;
        EXPECT_FALSE(loader.load(path, error)) << path;
        EXPECT_THAT(error, HasSubstr(path + ": "));
        EXPECT_THAT(error, HasSubstr(fault));
        EXPECT_THAT(error, Not(HasSubstr("\n")));
    }
    EXPECT_TRUE(loader.plugins().empty());
}

TEST(PluginLoader, LoadsInOrderAndDestroysInReverse) {
    const TemporaryFolder folder;
    ::setenv("TEST_PLUGIN_TRACE", (folder.path / "trace").c_str(), 1);
    {
        PluginLoader loader;
        std::string error;
        ASSERT_TRUE(loader.load(module("first"), error)) << error;
        EXPECT_FALSE(loader.load(module("first"), error));
        EXPECT_THAT(error, HasSubstr("\"Tests.first\" is already loaded"));
        ASSERT_TRUE(loader.load(module("second"), error)) << error;
        EXPECT_FALSE(loader.load(module("init_fails"), error));
        ASSERT_EQ(loader.plugins().size(), 2u);
        EXPECT_EQ(loader.plugins()[1].id, "Tests.second");

        // A factory that is not offered appears in no list.
        ASSERT_EQ(loader.algorithms().size(), 3u);
        EXPECT_EQ(loader.algorithms()[0].id, "Tests.first.Nothing");
        EXPECT_EQ(loader.instantiate("Tests.first.Nothing"), nullptr);
        EXPECT_EQ(loader.instantiate("Unknown"), nullptr);
    }
    ::unsetenv("TEST_PLUGIN_TRACE");
    EXPECT_EQ(folder.read("trace"),
              "Tests.init_fails factory destroyed\nTests.init_fails destroyed\n"
              "Tests.second factory destroyed\nTests.second destroyed\n"
              "Tests.first factory destroyed\nTests.first destroyed\n");

    PluginLoader again;
    std::string error;
    EXPECT_TRUE(again.load(module("first"), error)) << error;
}

using Made = std::unique_ptr<Algorithm>;

struct Factory : AlgorithmFactory {
    Factory() : AlgorithmFactory("Lab", true) {
        registerAlgorithm("IO;Lab;Reader", "Reader", {}, {});
        registerAlgorithm("IO;Broken", "Broken", {}, [](const Entry&, const DataList&) -> Made {
            throw std::runtime_error("no memory");
        });
        registerAlgorithm("IO;Foreign", "Foreign", {},
                          [](const Entry&, const DataList&) -> Made { throw 3; });
        registerAlgorithm("IO;Other", "Reader", {}, {});
    }
};

TEST(AlgorithmFactory, RefusedNamesAndFailedCreationsAreLogged) {
    LogCapture log;
    Factory factory;
    EXPECT_EQ(factory.algorithmDescriptor("Lab.Reader").category, "IO;Lab;Reader");
    for (const char* id : {"Lab.Broken", "Lab.Foreign", "Lab.Reader", "Lab.Unknown"})
        EXPECT_EQ(factory.instantiateAlgorithm(id, {}), nullptr) << id;
    EXPECT_THAT(log.take(),
                ElementsAre("[3] AlgorithmFactory: Algorithm already registered: Lab.Reader",
                            "[4] AlgorithmFactory: Cannot create algorithm Lab.Broken: no memory",
                            "[4] AlgorithmFactory: Cannot create algorithm Lab.Foreign: "));
}

} // namespace
} // namespace Morvalin

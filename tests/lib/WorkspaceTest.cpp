#include <morvalinlib/Workspace.h>

#include <csignal>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <morvalincore/PropertiesXml.h>
#include <morvalinlib/WorkspaceConversionRegistry.h>

#include "tests/host/CapturedLog.h"
#include "tests/lib/TemporaryFolder.h"

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

Properties sample(const std::string& id) {
    Properties root(Workspace::rootName);
    root.setParam("kept", "as it is");
    Properties& algorithms = root.addSubProperties(Workspace::algorithmsName);
    algorithms.addSubProperties(id).setParam("hardwareDevice", "\\\\.\\COM12 \"\xC3\xBC\" <&> ");
    return root;
}

/// Limits the size of every file that the process writes, as a full disk does.
struct FullDisk {
    explicit FullDisk(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limited{bytes, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    rlimit before{};
};

TEST(Workspace, WhatWasSavedIsLoadedAgain) {
    const TemporaryFolder folder;
    const std::string path = folder.path("\xC3\xBC w.xml");
    std::string error;
    const Properties root = sample("Lab.Reader");
    ASSERT_TRUE(Workspace::save(path, root, error)) << error;
    ASSERT_TRUE(Workspace::save(path, root, error)) << "over the old file: " << error;
    Properties loaded;
    ASSERT_TRUE(Workspace::load(path, loaded, error)) << error;
    EXPECT_EQ(loaded, root);
    EXPECT_THAT(folder.names(), ElementsAre("\xC3\xBC w.xml"));
}

TEST(Workspace, SavingThatFailsKeepsTheOldFileAndLeavesNothingBehind) {
    const TemporaryFolder folder;
    std::string error;
    const std::string path = folder.write("w.xml", "old");
    {
        const FullDisk fullDisk(16);
        EXPECT_FALSE(Workspace::save(path, sample("Lab.Reader"), error));
    }
    EXPECT_THAT(error, HasSubstr(path + ": "));
    EXPECT_EQ(folder.read("w.xml"), "old");
    EXPECT_THAT(folder.names(), ElementsAre("w.xml"));
}

TEST(Workspace, PlacesThatCannotBeWrittenAreRefusedBeforehand) {
    const TemporaryFolder folder;
    folder.write("file", "");
    const std::pair<std::string, const char*> cases[] = {
        {folder.path("none/w.xml"), "its folder does not exist"},
        {folder.path("file/w.xml"), "its folder does not exist"},
        {folder.path(""), "is a folder"},
        {"/dev/null", "is not a plain file"},
        {"/proc/w.xml", ""},
    };
    for (const auto& [path, fault] : cases) {
        for (const bool saves : {false, true}) {
            std::string error;
            EXPECT_FALSE(saves ? Workspace::save(path, Properties(), error)
                               : Workspace::canSave(path, error));
            EXPECT_THAT(error, HasSubstr(path + ": " + fault));
        }
    }
    std::string error;
    EXPECT_TRUE(Workspace::canSave(folder.path("new.xml"), error)) << error;
    EXPECT_THAT(folder.names(), ElementsAre("file"));
}

TEST(Workspace, FilesThatAreNoneLeaveTheRootAlone) {
    const TemporaryFolder folder;
    const std::string whole = toXml(sample("Lab.Reader"));
    const std::pair<std::string, const char*> cases[] = {
        {"", "not a workspace"},
        {whole.substr(0, whole.size() / 2), "not a workspace"},
        {std::string(100, '\0'), "not a workspace"},
        {whole + std::string(std::size_t{17} << 20, ' '), "not a workspace"},
        {toXml(Properties("Workspace")), "no block \"Algorithms\""},
    };
    Properties root("mine");
    std::string error;
    for (const auto& [text, fault] : cases) {
        EXPECT_FALSE(Workspace::load(folder.write("w.xml", text), root, error));
        EXPECT_THAT(error, HasSubstr("w.xml: "));
        EXPECT_THAT(error, HasSubstr(fault));
        EXPECT_THAT(error, Not(HasSubstr("\n")));
    }
    EXPECT_FALSE(Workspace::load(folder.path("none"), root, error));
    EXPECT_THAT(error, HasSubstr("no such file"));
    EXPECT_FALSE(Workspace::load(folder.path(""), root, error));
    EXPECT_THAT(error, HasSubstr("is a folder"));
    EXPECT_EQ(root, Properties("mine"));
}

TEST(Workspace, ConversionsRunInOrderOnEveryLoadedFile) {
    const TemporaryFolder folder;
    // Conversions stay for the rest of the process; when this test is over, they do nothing.
    static bool isActive;
    isActive = true;
    const auto step = [](const std::string& name) {
        return [name](Properties& root, const std::string& path) {
            if (isActive && name == "explode")
                throw std::runtime_error("conversion failed");
            std::string before;
            root.param("steps", before);
            if (isActive)
                root.setParam("steps", before + name + " " + path + " ");
            return isActive;
        };
    };
    auto& registry = WorkspaceConversionRegistry::instance();
    registry.addConversion({"First step", 1, step("one")});
    registry.addConversion({"Second step", 2, step("two")});

    CapturedLog log;
    Properties root;
    std::string error;
    std::string steps;
    const std::string path = folder.write("w.xml", toXml(sample("Lab.Reader")));
    ASSERT_TRUE(Workspace::load(path, root, error)) << error;
    EXPECT_TRUE(root.param("steps", steps));
    EXPECT_EQ(steps, "one " + path + " two " + path + " ");
    EXPECT_THAT(log.lines(), ElementsAre("2 Workspace: " + path + ": First step",
                                         "2 Workspace: " + path + ": Second step"));

    registry.addConversion({"Third step", 3, step("explode")});
    EXPECT_FALSE(Workspace::load(path, root, error));
    EXPECT_THAT(error, HasSubstr("conversion failed"));
    isActive = false;
}

} // namespace
} // namespace Morvalin

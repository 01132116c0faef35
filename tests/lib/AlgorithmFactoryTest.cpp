#include <morvalinlib/AlgorithmFactory.h>

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvalincore/GlobalSettings.h>

#include "tests/host/LogCapture.h"

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Plain : Algorithm {
    void compute() override {}
};

struct Io : IoAlgorithm {
    void compute() override {}
    void configure(const Properties* properties) override {
        if (properties != nullptr)
            properties->param("text", text);
    }
    std::string text = "untouched";
};

struct Factory : AlgorithmFactory {
    Factory() : AlgorithmFactory("Lab", true) {
        using Made = std::unique_ptr<Algorithm>;
        const auto needsNothing = [](const DataList& input) { return input.empty(); };
        const auto takesAll = [](const DataList&) { return true; };
        const auto makeIo = [](const Entry& entry, const DataList& input) {
            auto algorithm = std::make_unique<Io>();
            algorithm->setFactoryInfo({entry.id, entry.displayName(), input});
            algorithm->configureFromGlobalSettings();
            algorithm->configure(entry.configuration.get());
            return algorithm;
        };
        registerAlgorithm("IO;Lab;Reader", "Reader", needsNothing, makeIo);
        registerAlgorithm("Filter", "Filter", takesAll,
                          [](const Entry&, const DataList&) { return std::make_unique<Plain>(); });
        registerAlgorithm(
            "IO;Broken", "Broken", takesAll,
            [](const Entry&, const DataList&) -> Made { throw std::runtime_error("no memory"); });
        registerAlgorithm("IO;Foreign", "Foreign", {},
                          [](const Entry&, const DataList&) -> Made { throw 3; });
        registerAlgorithm("IO;Other", "Reader", takesAll, {});
    }
};

std::vector<std::string> ids(const std::vector<AlgorithmFactory::Descriptor>& descriptors) {
    std::vector<std::string> result;
    for (const auto& descriptor : descriptors)
        result.push_back(descriptor.id);
    return result;
}

TEST(AlgorithmFactory, RefusedNamesAndFailedCreationsAreLogged) {
    LogCapture log;
    Factory factory;
    EXPECT_EQ(factory.algorithmDescriptor("Lab.Reader").category, "IO;Lab;Reader");
    for (const char* id : {"Lab.Broken", "Lab.Foreign", "Lab.Unknown"})
        EXPECT_EQ(factory.instantiateAlgorithm(id, {}), nullptr) << id;
    EXPECT_THAT(log.take(),
                ElementsAre("[3] AlgorithmFactory: Algorithm already registered: Lab.Reader",
                            "[4] AlgorithmFactory: Cannot create algorithm Lab.Broken: no memory",
                            "[4] AlgorithmFactory: Cannot create algorithm Lab.Foreign: "));
}

TEST(AlgorithmFactory, DescriptorsFollowInputMenuAndOrder) {
    const LogCapture log;
    Factory factory;
    DataList input;
    input.add(nullptr);
    EXPECT_THAT(ids(factory.ioAlgorithmDescriptors()),
                ElementsAre("Lab.Reader", "Lab.Broken", "Lab.Foreign"));
    EXPECT_THAT(ids(factory.compatibleDescriptors({})),
                ElementsAre("Lab.Reader", "Lab.Filter", "Lab.Broken"));
    EXPECT_THAT(ids(factory.compatibleDescriptors(input)), ElementsAre("Lab.Filter", "Lab.Broken"));
    EXPECT_THAT(ids(factory.compatibleIoDescriptors(input)), ElementsAre("Lab.Broken"));
    EXPECT_THAT(ids(factory.compatibleIoDescriptors("file.rom")), IsEmpty());
    EXPECT_EQ(factory.algorithmDescriptor("Lab.Filter").displayName, "Filter");
    EXPECT_EQ(factory.algorithmDescriptor("Lab.None").id, "");

    EXPECT_TRUE(factory.addAlgorithmFactoryToFront("Lab.Broken"));
    EXPECT_FALSE(factory.addAlgorithmFactoryToFront("Lab.None"));
    EXPECT_THAT(ids(factory.algorithmDescriptors()),
                ElementsAre("Lab.Broken", "Lab.Reader", "Lab.Filter", "Lab.Foreign"));
}

TEST(AlgorithmFactory, NewAlgorithmsTakeGlobalThenStoredSettings) {
    const LogCapture log;
    Factory factory;
    const auto textOfNew = [&] {
        const auto algorithm = factory.instantiateIoAlgorithm("Lab.Reader", {});
        EXPECT_NE(algorithm, nullptr);
        return dynamic_cast<Io&>(*algorithm).text;
    };
    EXPECT_EQ(textOfNew(), "untouched");
    GlobalSettings::modify([](Properties& settings) {
        settings.addSubProperties("Lab.Reader").setParam("text", "global");
    });
    EXPECT_EQ(textOfNew(), "global");
    Properties stored;
    stored.setParam("text", "stored");
    EXPECT_TRUE(factory.setStoredConfiguration("Lab.Reader", stored));
    EXPECT_FALSE(factory.setStoredConfiguration("Lab.None", stored));
    EXPECT_EQ(textOfNew(), "stored");
    GlobalSettings::modify([](Properties& settings) { settings.clear(); });
    EXPECT_EQ(factory.instantiateIoAlgorithm("Lab.Filter", {}), nullptr);
}

} // namespace
} // namespace Morvalin

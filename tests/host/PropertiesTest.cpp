#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvalincore/GlobalSettings.h>
#include <morvalincore/Properties.h>

using namespace Morvalin;
using testing::ElementsAre;
using testing::Pair;

TEST(Properties, TextIsReadAsWhatItSays) {
    constexpr int none = -77;
    const std::tuple<const char*, int, int> cases[] = {
        {"5", 5, none},         {"+5", 5, none},
        {"0", 0, false},        {"1", 1, true},
        {"true", none, true},   {"-2147483648", INT32_MIN, none},
        {"false", none, false}, {"2147483648", none, none},
        {"True", none, none},   {"", none, none},
        {" 5", none, none},     {"5 ", none, none},
        {"+-5", none, none},    {"+", none, none},
        {"5.0", none, none},
    };
    for (const auto& [written, expectedInteger, expectedBoolean] : cases) {
        SCOPED_TRACE(written);
        Properties block;
        std::string text = "untouched";
        EXPECT_FALSE(block.param("key", text));
        EXPECT_EQ(text, "untouched");
        block.setParam("key", written);
        std::int32_t integer = none;
        EXPECT_TRUE(block.param("key", text));
        EXPECT_EQ(text, written);
        EXPECT_EQ(block.param("key", integer), expectedInteger != none);
        EXPECT_EQ(integer, expectedInteger);
        for (const bool before : {false, true}) {
            bool boolean = before;
            EXPECT_EQ(block.param("key", boolean), expectedBoolean != none);
            EXPECT_EQ(boolean, expectedBoolean == none ? before : expectedBoolean != 0);
        }
    }
}

TEST(Properties, RewritingKeepsPlaceTypeAndAttributes) {
    Properties block;
    block.setParam("first", 1);
    block.setParam("second", true);
    block.setParamType("first", Properties::choiceParameterType);
    block.setParamAttributes("first", {{"values", "a, b"}, {"old", "x"}});
    block.setParamAttributes("first", {{"values", "a, b"}});
    block.setParamAttribute("first", "label", "L");
    block.setParamAttribute("first", "values", "c");
    block.setParam("first", "text");

    ASSERT_EQ(block.params().size(), 2u);
    const Properties::Parameter& first = block.params().front();
    EXPECT_EQ(first.key + "=" + first.value, "first=text");
    EXPECT_EQ(first.kind, Properties::ValueKind::Text);
    EXPECT_EQ(block.paramType("first"), 8);
    EXPECT_THAT(first.attributes, ElementsAre(Pair("values", "c"), Pair("label", "L")));
}

TEST(Properties, CopiesAreDeepAndKeepTheTargetsName) {
    Properties source("source");
    source.setAttribute("hidden", "true");
    source.setParam("p", 1);
    Properties& child = source.addSubProperties("child");
    child.addSubProperties("grandchild").setParam("q", "deep");
    for (int i = 0; i < 100; ++i)
        source.addSubProperties("child");
    EXPECT_EQ(source.subProperties("child"), &child); // where it was
    EXPECT_EQ(source.children().size(), 101u);

    Properties target("target");
    target.setParam("gone", 1);
    target.copyFrom(source);
    EXPECT_EQ(target.name(), "target");
    EXPECT_NE(target, source);
    target.setName("source");
    EXPECT_EQ(target, source);
    target.subProperties("child")->subProperties("grandchild")->setParam("q", "changed");
    EXPECT_NE(target, source);

    // A block may become a copy of itself or of one of its own parts.
    const Properties before = source;
    source.copyFrom(source);
    EXPECT_EQ(source, before);
    source.copyFrom(source.children().front());
    EXPECT_FALSE(source.hasParam("p"));
    EXPECT_NE(source.subProperties("grandchild"), nullptr);
}

TEST(GlobalSettings, ChangesAreWholeOrNotAtAll) {
    const Properties before = GlobalSettings::snapshot();
    const auto change = [](Properties& settings) {
        settings.addSubProperties("SerialPorts").setParam("COM1", "half");
        throw std::runtime_error("half way");
    };
    EXPECT_THROW(GlobalSettings::modify(change), std::runtime_error);
    EXPECT_EQ(GlobalSettings::snapshot(), before);
}

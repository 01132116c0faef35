#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvalincore/PropertiesXml.h>

using namespace Morvalin;
using testing::HasSubstr;

namespace {

/// A tree that has `text` everywhere where a text can stand.
Properties treeOf(const std::string& text) {
    Properties root(text);
    root.setAttribute(text, text);
    root.setParam(text, text);
    root.setParam("number" + text, 5);
    root.setParam("flag", true);
    root.setParamType("number" + text, -8);
    root.setParamAttributes("flag", {{text, text}, {"label", text}});
    root.addSubProperties(text).setParam("key", text);
    root.addSubProperties(text).addSubProperties("");
    return root;
}

void expectRoundTrip(const Properties& written) {
    const std::string xml = toXml(written);
    Properties read;
    std::string error;
    ASSERT_TRUE(fromXml(xml, read, error)) << error << "\n" << xml;
    EXPECT_EQ(read, written) << xml;
    EXPECT_EQ(toXml(read), xml);
}

std::string inBlock(const std::string& content) {
    return "<block name='a'>\n" + content + "</block>";
}

std::string nested(int levels) {
    std::string xml;
    for (int i = 0; i < levels; ++i)
        xml += "<block name=''>";
    for (int i = 0; i < levels; ++i)
        xml += "</block>";
    return xml;
}

} // namespace

TEST(PropertiesXml, EveryTextSurvives) {
    // Damaged UTF-8, control characters and zeros come below, at random.
    const std::string texts[] = {
        "\\\\.\\COM12 \"'<>&",
        "&amp;&#0;]]><!-- -->",
        "\xC3\xBC \xE2\x82\xAC \xF0\x9F\x98\x80",
        " \t\r\n\r\r\n ",
        "%41%",
        "\xED\xA0\x80",
        "\xEF\xBF\xBF",
        "\xEF\xBB\xBF",
        "\xF4\x90\x80\x80",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        expectRoundTrip(treeOf(text));
    }
    std::mt19937 random(1);
    for (int i = 0; i < 300; ++i) {
        std::string text(random() % 31, ' ');
        for (char& c : text)
            c = static_cast<char>(random());
        expectRoundTrip(treeOf(text));
    }
}

TEST(PropertiesXml, ReadsWhatAPersonWrites) {
    const std::string xml =
        "\xEF\xBB\xBF<?xml version='1.0'?>\r\n"
        "<!-- the lab's Aurora & its port -->\r\n"
        "<block name='Algorithms'>\r\n"
        "  <block name='x'></block>\r\n"
        "  <parameter value='12' name='port'/>\r\n"
        "  <parameter name='on' value='true'></parameter>\r\n"
        "  <parameter name='device' value='\\\\.\\COM12 &#x41;&#66;&apos;'/>\r\n"
        "</block>\r\n";
    Properties root;
    std::string error;
    ASSERT_TRUE(fromXml(xml, root, error)) << error;
    Properties expected("Algorithms");
    expected.addSubProperties("x");
    expected.setParam("port", "12");
    expected.setParam("on", "true");
    expected.setParam("device", "\\\\.\\COM12 AB'");
    EXPECT_EQ(root, expected);
    EXPECT_EQ(root.line(), 3);
    EXPECT_EQ(root.subProperties("x")->line(), 4);
    EXPECT_EQ(root.findParam("on")->line, 6);
}

TEST(PropertiesXml, RefusesInOneLineThatNamesTheFault) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "no <block>"},
        {"<html></html>", "<html>"},
        {"<block name='a'/><block name='b'/>", "more than one"},
        {"<block name='a'/>tail", "unexpected text"},
        {"<!DOCTYPE b [<!ENTITY e 'x'>]><block name='&e;'/>", "document type"},
        {"<block name='&e;'/>", "bad \"&\""},
        {"<block name='a&#xD800;b'/>", "bad \"&\""},
        {"<block name='a<b'/>", "bad \"&\" or \"<\""},
        {"<block/>", "has no attribute \"name\""},
        {"<block name='a' nam='b'/>", "unknown attribute \"nam\""},
        {"<block name='a' name='b'/>", "two attributes \"name\""},
        {inBlock("<para name='x' value='1'/>"), "line 2: unknown element <para>"},
        {inBlock("<parameter name='x'/>"), "line 2: <parameter> has no attribute \"value\""},
        {inBlock("<parameter name='x' value='1'/>\n<parameter name='x' value='2'/>"),
         "line 3: second parameter \"x\""},
        {inBlock("<parameter name='x&#10;y' value=''/><parameter name='x&#10;y' value=''/>"),
         "second parameter \"x y\""},
        {inBlock("<parameter name='x' value='1' kind='real'/>"), "unknown kind \"real\""},
        {inBlock("<parameter name='x' value='1' type='eight'/>"), "\"eight\" is not a number"},
        {inBlock("<parameter name='x' value='1'><block name='y'/></parameter>"), "<block> in"},
        {inBlock("<attribute name='x' value='1'>text</attribute>"), "must be empty"},
        {inBlock("<parameter name='x' value='%0' escaped='value'/>"), "cannot be unescaped"},
        {inBlock("<parameter name='x' value='1' escaped='kind'/>"), "cannot be unescaped"},
        {"<block name='\xFF'/>", "line 1: a byte that is not UTF-8"},
        {nested(65), "more than 64"},
        {std::string(16 * 1024 * 1024 + 1, ' '), "16 MiB"},
    };
    for (const auto& [xml, expected] : cases) {
        SCOPED_TRACE(xml.substr(0, 80));
        Properties out("kept");
        out.setParam("kept", 1);
        const Properties before = out;
        std::string error;
        EXPECT_FALSE(fromXml(xml, out, error));
        EXPECT_THAT(error, HasSubstr(expected));
        EXPECT_EQ(error.find_first_of("\r\n"), std::string::npos) << error;
        EXPECT_EQ(out, before);
    }
}

TEST(PropertiesXml, ManySettingsAndTheDeepestBlocksAreRead) {
    Properties out;
    std::string error;
    EXPECT_TRUE(fromXml(nested(64), out, error)) << error;
    std::string content; // which would take minutes if each looked at all before it
    for (int i = 0; i < 100000; ++i)
        content += "<parameter name='key" + std::to_string(i) + "' value=''/>\n";
    ASSERT_TRUE(fromXml(inBlock(content), out, error)) << error;
    EXPECT_EQ(out.params().size(), 100000u);
}

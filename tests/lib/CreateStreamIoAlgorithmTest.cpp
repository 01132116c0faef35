#include <morvalinlib/CreateStreamIoAlgorithm.h>

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/LogCapture.h"

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What happened to all streams of a test.
std::vector<std::string> events;

/// The step of the streams of a test that fails; those before "open" throw.
std::string failing;

bool record(const std::string& event) {
    events.push_back(event);
    return event != failing;
}

class ScriptedStream : public Stream {
public:
    ScriptedStream() : Stream("Scripted") {
        if (failing == "make")
            throw std::runtime_error("no stream today");
    }
    ~ScriptedStream() override {
        closeForGood();
        record("destroyed");
    }
    std::string uuid() const override { return "ScriptedStream"; }
    void configure(const Properties* properties) override {
        std::string text = "none";
        properties->param("text", text);
        if (!record("configure " + text))
            throw std::runtime_error("odd settings");
    }
    void configuration(Properties* properties) override { properties->setParam("from", "stream"); }

protected:
    bool openImpl() override { return record("open"); }
    bool closeImpl() override { return record("close"); }
    bool startImpl() override { return record("start"); }
    bool stopImpl() override { return record("stop"); }
    std::optional<WorkContinuation> doWork() override {
        return WorkContinuation{std::chrono::system_clock::now() + std::chrono::hours(1), 1};
    }
};

using Scripted = CreateStreamIoAlgorithm<ScriptedStream>;

struct CreateStream : testing::Test {
    CreateStream() {
        events.clear();
        failing.clear();
    }
    LogCapture log;
};

TEST_F(CreateStream, OpensAndStartsWhatTheFirstPresentFlagAsksFor) {
    const std::tuple<std::vector<std::pair<std::string, bool>>, const char*, int> cases[] = {
        {{}, "", 0},
        {{{"open", true}}, "", 1},
        {{{"open", false}, {"autoOpen", true}}, "", 0},
        {{{"autoOpen", false}, {"connect", true}}, "", 0},
        {{{"connect", true}, {"autoStart", true}}, "", 2},
        {{{"start", false}, {"autoStart", true}, {"open", true}}, "", 1},
        {{{"start", true}}, "", 0},
        // What fails keeps the stream, without a word in the log.
        {{{"open", true}, {"start", true}}, "open", 1},
        {{{"open", true}, {"start", true}}, "start", 2},
    };
    for (const auto& [flags, failed, steps] : cases) {
        SCOPED_TRACE(testing::PrintToString(flags) + failed);
        events.clear();
        failing = failed;
        Scripted algorithm;
        Properties settings;
        for (const auto& [key, value] : flags)
            settings.setParam(key, value);
        algorithm.configure(&settings);
        const Properties other;
        algorithm.configure(&other); // flags that are absent keep their value
        algorithm.compute();
        ASSERT_NE(algorithm.stream(), nullptr);
        const std::vector<std::string> expected = {"configure none", "open", "start"};
        EXPECT_EQ(events, std::vector(expected.begin(), expected.begin() + 1 + steps));
        EXPECT_EQ(algorithm.status(), *failed ? IoAlgorithm::Failure : IoAlgorithm::Success);
        const bool isOpen = steps > 0 && failing != "open";
        EXPECT_EQ(algorithm.stream()->state() != Stream::Closed, isOpen);
    }
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(CreateStream, WhatThrowsLeavesNoStream) {
    const std::string fault = "[4] CreateStreamIoAlgorithm: Could not instantiate a new Stream: ";
    Scripted algorithm;
    const Properties none;
    algorithm.configure(&none);
    algorithm.compute();
    failing = "make";
    algorithm.compute();
    EXPECT_EQ(algorithm.stream(), nullptr);
    EXPECT_THAT(events, ElementsAre("configure none", "destroyed"));
    events.clear();
    failing = "configure none"; // forgotten alive
    auto stream = std::make_unique<ScriptedStream>();
    const std::unique_ptr<ScriptedStream> survivor(stream.get());
    algorithm.adoptStream(std::move(stream));
    EXPECT_EQ(algorithm.stream(), nullptr);
    EXPECT_EQ(algorithm.status(), IoAlgorithm::Failure);
    EXPECT_THAT(events, ElementsAre("configure none"));
    EXPECT_THAT(log.take(), ElementsAre(fault + "no stream today", fault + "odd settings"));
}

TEST_F(CreateStream, SettingsAreKeptForStreamsThatReplaceEachOtherUnlessTakenAway) {
    std::unique_ptr<Stream> taken;
    {
        Scripted algorithm;
        Properties properties("block");
        properties.setParam("text", "first");
        algorithm.configure(&properties);
        properties.setParam("text", "changed");
        Properties read("mine");
        algorithm.configuration(&read);
        EXPECT_EQ(read.params().at(0).value + " " + read.name(), "first mine");
        algorithm.compute();
        properties.setParam("open", true);
        algorithm.configure(&properties); // the stream that exists, which stays closed
        algorithm.configuration(&read);
        EXPECT_TRUE(read.hasParam("from"));
        algorithm.compute();
        algorithm.compute();
        EXPECT_THAT(events, ElementsAre("configure first", "configure changed", "destroyed",
                                        "configure changed", "open", "close", "destroyed",
                                        "configure changed", "open"));
        taken.reset(algorithm.stream());
        algorithm.setStreamOwnershipTransferred();
        algorithm.compute();
        EXPECT_EQ(taken->state(), Stream::Open);
        events.clear();
    }
    EXPECT_THAT(events, ElementsAre("close", "destroyed"));
    EXPECT_EQ(taken->state(), Stream::Open);
}

} // namespace
} // namespace Morvalin

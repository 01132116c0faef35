#include <morvalinlib/CreateStreamIoAlgorithm.h>

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/CapturedLog.h"

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What happened to all streams of a test.
std::vector<std::string> events;

/// Set before the algorithm makes its stream.
struct Script {
    bool throwsWhenMade = false;
    bool throwsWhenConfigured = false;
    bool opens = true;
    bool starts = true;
} script;

class ScriptedStream : public Stream {
public:
    ScriptedStream() : Stream("Scripted") {
        if (script.throwsWhenMade)
            throw std::runtime_error("no stream today");
    }
    ~ScriptedStream() override {
        close();
        events.emplace_back("destroyed");
    }
    std::string uuid() const override { return "ScriptedStream"; }
    void configure(const Properties* properties) override {
        std::string text = "none";
        properties->param("text", text);
        events.push_back("configure " + text);
        if (script.throwsWhenConfigured)
            throw std::runtime_error("odd settings");
    }
    void configuration(Properties* properties) override { properties->setParam("from", "stream"); }

protected:
    bool openImpl() override { return record("open", script.opens); }
    bool closeImpl() override { return record("close", true); }
    bool startImpl() override { return record("start", script.starts); }
    bool stopImpl() override { return record("stop", true); }
    std::optional<WorkContinuation> doWork() override {
        return WorkContinuation{std::chrono::system_clock::now() + std::chrono::hours(1), 1};
    }

private:
    static bool record(const char* event, bool result) {
        events.emplace_back(event);
        return result;
    }
};

using Scripted = CreateStreamIoAlgorithm<ScriptedStream>;

using Flags = std::vector<std::pair<std::string, bool>>;

/// A new algorithm with these settings.
struct Configured : Scripted {
    explicit Configured(const Flags& flags) {
        Properties settings;
        for (const auto& [key, value] : flags)
            settings.setParam(key, value);
        configure(&settings);
    }
};

struct CreateStream : testing::Test {
    CreateStream() {
        events.clear();
        script = {};
    }
    CapturedLog log;
};

TEST_F(CreateStream, OpensAndStartsWhatTheFirstPresentFlagAsksFor) {
    const std::pair<Flags, int> cases[] = {
        {{}, 0},
        {{{"open", true}}, 1},
        {{{"autoOpen", true}}, 1},
        {{{"connect", true}}, 1},
        {{{"open", false}, {"autoOpen", true}}, 0},
        {{{"autoOpen", false}, {"connect", true}}, 0},
        {{{"connect", true}, {"autoStart", true}}, 2},
        {{{"start", false}, {"autoStart", true}, {"open", true}}, 1},
        {{{"start", true}}, 0},
    };
    for (const auto& [flags, steps] : cases) {
        events.clear();
        Configured algorithm(flags);
        const Properties other;
        algorithm.configure(&other); // flags that are absent keep their value
        algorithm.compute();
        const std::vector<std::string> expected = {"configure none", "open", "start"};
        EXPECT_EQ(events, std::vector(expected.begin(), expected.begin() + 1 + steps))
            << (flags.empty() ? "" : flags.front().first);
        EXPECT_EQ(algorithm.status(), IoAlgorithm::Success);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CreateStream, StepsThatFailKeepTheStreamAndAreNotLogged) {
    for (const bool opens : {false, true}) {
        script.opens = opens;
        script.starts = false;
        Configured algorithm({{"open", true}, {"start", true}});
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), IoAlgorithm::Failure);
        ASSERT_NE(algorithm.stream(), nullptr);
        EXPECT_EQ(algorithm.stream()->state(), opens ? Stream::Open : Stream::Closed);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CreateStream, StreamThatThrowsIsForgottenAlive) {
    script.throwsWhenConfigured = true;
    Configured algorithm({});
    auto stream = std::make_unique<ScriptedStream>();
    const std::unique_ptr<ScriptedStream> survivor(stream.get());
    algorithm.adoptStream(std::move(stream));
    EXPECT_EQ(algorithm.stream(), nullptr);
    EXPECT_EQ(algorithm.status(), IoAlgorithm::Failure);
    EXPECT_THAT(events, ElementsAre("configure none"));
    EXPECT_THAT(log.lines(), ElementsAre("4 CreateStreamIoAlgorithm: Could not instantiate a new "
                                         "Stream: odd settings"));
}

TEST_F(CreateStream, StreamThatCannotBeMadeLeavesNone) {
    Scripted algorithm;
    algorithm.compute();
    script.throwsWhenMade = true;
    algorithm.compute();
    EXPECT_EQ(algorithm.stream(), nullptr);
    EXPECT_EQ(algorithm.status(), IoAlgorithm::Failure);
    EXPECT_THAT(events, ElementsAre("destroyed"));
    EXPECT_THAT(log.lines(), ElementsAre("4 CreateStreamIoAlgorithm: Could not instantiate a new "
                                         "Stream: no stream today"));
}

TEST_F(CreateStream, NewStreamReplacesTheOldOneUnlessThatHasAnotherOwner) {
    std::unique_ptr<Stream> taken;
    {
        Configured algorithm({{"open", true}});
        algorithm.compute();
        algorithm.compute();
        EXPECT_THAT(events, ElementsAre("configure none", "open", "close", "destroyed",
                                        "configure none", "open"));
        taken.reset(algorithm.stream());
        algorithm.setStreamOwnershipTransferred();
        algorithm.compute();
        EXPECT_EQ(taken->state(), Stream::Open);
        events.clear();
    }
    EXPECT_THAT(events, ElementsAre("close", "destroyed"));
    EXPECT_EQ(taken->state(), Stream::Open);
}

TEST_F(CreateStream, SettingsAreCopiedForLaterAndForwardedToTheStreamThatExists) {
    Scripted algorithm;
    Properties properties("block");
    properties.setParam("text", "first");
    algorithm.configure(&properties);
    properties.setParam("text", "changed");
    Properties read("mine");
    algorithm.configuration(&read);
    std::string text;
    EXPECT_TRUE(read.param("text", text));
    EXPECT_EQ(text + " " + read.name(), "first mine");

    algorithm.compute();
    properties.setParam("open", true);
    algorithm.configure(&properties);
    EXPECT_THAT(events, ElementsAre("configure first", "configure changed"));
    Properties fromStream;
    algorithm.configuration(&fromStream);
    EXPECT_TRUE(fromStream.hasParam("from"));

    algorithm.configure(nullptr);
    algorithm.configuration(nullptr);
    algorithm.compute();
    EXPECT_EQ(algorithm.stream()->state(), Stream::Open);
}

} // namespace
} // namespace Morvalin

// What a stream is said to be doing, with a clock of the test's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "session/EventText.h"
#include "session/StreamCondition.h"
#include "session/ToolWatch.h"

namespace Morvalin::App {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Condition = StreamStatus::Condition;
using Failure = StreamStatus::Failure;

/// A stream whose time passes in tenths of a second.
struct Watched {
    void add(const StreamCondition::Event& event) {
        if (event)
            told.push_back(std::to_string(tenths) + " " + eventText("S", *event).text);
    }
    void state(Stream::State to) {
        add(condition.onState({former, to}, now()));
        former = to;
    }
    void states(std::initializer_list<Stream::State> all) {
        for (const Stream::State to : all)
            state(to);
    }
    void pass(int count) {
        for (const int end = tenths + count; tenths < end; ++tenths) {
            add(condition.onTime(now()));
            if (const auto report = condition.openingReport(now()))
                told.push_back(std::to_string(tenths) + " opening " +
                               std::to_string(report->count()));
        }
    }
    void frame(int received = 0) {
        add(condition.onFrame(now()));
        pass(received);
        condition.onFrameReceived(now());
    }
    void frames(int count) {
        for (int i = 0; i < count; ++i, pass(1))
            frame();
    }
    StreamStatus::Clock::time_point now() const {
        return StreamStatus::Clock::time_point(std::chrono::milliseconds(100 * (tenths + 1)));
    }
    StreamStatus status() const { return condition.status(now()); }

    StreamCondition condition;
    Stream::State former = Stream::Closed;
    int tenths = 0;
    std::vector<std::string> told;
};

constexpr auto up = {Stream::Opening, Stream::Open, Stream::Starting, Stream::Running};

TEST(StreamConditions, StallsAreToldOnceWithTheirReasonAndEndWithAFrame) {
    Watched stream;
    stream.states(up);
    stream.frames(20); // the last one at 19
    EXPECT_EQ(stream.status().condition, Condition::Tracking);
    stream.condition.onError("of before");
    stream.frame(50); // its receivers take 5 s: the stream is not to blame
    EXPECT_EQ(stream.status().reason, "") << "a frame came after it";
    stream.pass(29);
    EXPECT_EQ(stream.status().condition, Condition::Tracking);
    stream.pass(5);
    EXPECT_EQ(stream.status().condition, Condition::NoData);
    stream.condition.onError("first");
    stream.condition.onError("last");
    stream.pass(60);
    EXPECT_EQ(stream.status().condition, Condition::NotAnswering);
    EXPECT_TRUE(stream.status().isStalled);
    stream.frame();
    stream.condition.onError("lost");
    stream.pass(40);
    EXPECT_THAT(stream.told,
                ElementsAre("0 ", "100 S: no data for 3 s", "164 S: data again after 9 s",
                            "194 S: no data for 3 s: lost"));
    EXPECT_EQ(stream.status().frames, 22u);
    stream.states({Stream::Stopping, Stream::Open});
    EXPECT_EQ(stream.status().condition, Condition::Open);
    EXPECT_EQ(stream.status().quiet.count(), 0);
    stream.states({Stream::Starting, Stream::Running});
    EXPECT_FALSE(stream.status().isStalled) << "somebody has started it anew";
}

TEST(StreamConditions, OpeningIsReportedAndFailureRemembered) {
    Watched stream;
    EXPECT_EQ(stream.status().condition, Condition::Closed);
    stream.state(Stream::Opening);
    stream.pass(120);
    EXPECT_EQ(stream.status().condition, Condition::Opening);
    EXPECT_EQ(stream.status().gap.count(), 0) << "it could not yet hand out anything";
    stream.condition.onError("refused");
    stream.state(Stream::Closed);
    EXPECT_EQ(stream.status().failure, Failure::Opening);
    EXPECT_EQ(stream.status().failedAfter, std::chrono::seconds(12));
    EXPECT_EQ(stream.status().reason, "refused");
    stream.pass(100);
    EXPECT_EQ(stream.status().gap, std::chrono::seconds(10));
    EXPECT_EQ(stream.status().quiet.count(), 0);
    EXPECT_THAT(stream.told, ElementsAre("50 opening 5", "100 opening 10", "120 "));
    stream.states({Stream::Opening, Stream::Open, Stream::Starting});
    stream.pass(50);
    EXPECT_EQ(stream.status().condition, Condition::Open);
    stream.state(Stream::Open);
    EXPECT_EQ(stream.status().failure, Failure::Starting);
    EXPECT_EQ(stream.status().reason, "");
}

TEST(StreamConditions, AGapLastsOverTheTriesToEndIt) {
    Watched stream;
    stream.condition.setPatience(std::chrono::seconds(1));
    stream.states(up);
    stream.frames(1);
    stream.pass(15);
    stream.condition.onReconnecting();
    stream.state(Stream::Stopping);
    stream.frame(); // one that was on its way
    EXPECT_TRUE(stream.status().isStalled);
    stream.states({Stream::Open, Stream::Closing, Stream::Closed});
    stream.pass(10);
    stream.states({Stream::Opening, Stream::Closed});
    stream.condition.onReconnecting();
    stream.states(up);
    stream.pass(20);
    EXPECT_EQ(stream.status().gap, std::chrono::milliseconds(3000));
    EXPECT_EQ(stream.status().quiet, std::chrono::milliseconds(2000)) << "of this try alone";
    EXPECT_TRUE(stream.status().isStalled);
    stream.frame();
    EXPECT_FALSE(stream.status().isStalled);
    EXPECT_THAT(stream.told, ElementsAre("0 ", "10 S: no data for 1 s", "16 ", "26 ", "26 ",
                                         "46 S: data again after 3 s"));
}

TEST(Tools, ChangesAreNoticedFromFrameToFrame) {
    ToolWatch watch;
    const auto changes = [&watch](std::initializer_list<std::pair<const char*, bool>> tools) {
        TrackingStreamData frame;
        for (const auto& [id, isActive] : tools) {
            frame.instruments.emplace_back().trackerId.ID = id;
            frame.instruments.back().active = isActive;
        }
        std::vector<std::string> texts;
        for (const StreamEvent& event : watch.onFrame(frame))
            texts.push_back(event.tool.ID + (event.isActive ? "+" : "-"));
        return texts;
    };
    EXPECT_THAT(changes({{"a", true}, {"b", false}}), ElementsAre("b-"));
    EXPECT_THAT(changes({{"a", true}, {"b", false}}), IsEmpty());
    EXPECT_THAT(changes({{"a", false}, {"b", true}}), ElementsAre("a-", "b+"));
    EXPECT_THAT(changes({}), IsEmpty());
    EXPECT_THAT(changes({{"a", true}}), IsEmpty());
}

} // namespace
} // namespace Morvalin::App

#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "ScriptedStream.h"

using namespace Morvalin;

namespace {

/// Holds a hook until the test lets it go, and tells when it has got there.
struct Gate : Events {
    bool pass() {
        add("entered");
        await("released");
        return true;
    }
};

} // namespace

TEST(StreamThreads, OperationsKeepTheirOrder) {
    ScriptedStream stream;
    stream.hooks["openImpl"] = [&] {
        // Asked from inside, each is queued and says so at once.
        EXPECT_TRUE(stream.start() && stream.pause() && stream.resume() && stream.stop());
        EXPECT_TRUE(stream.start());
        return true;
    };
    ASSERT_TRUE(stream.open());
    EXPECT_TRUE(stream.stop());
    EXPECT_EQ(stream.events.text(),
              "0>1 openImpl 1>2 2>3 startImpl 3>4 4>5 pauseImpl 5>6 6>7 resumeImpl 7>4 "
              "4>8 stopImpl 8>2 2>3 startImpl 3>4 4>8 stopImpl 8>2");
}

TEST(StreamThreads, SecondOpenWaitsAndCloseCancelsWhatWaits) {
    ScriptedStream stream;
    Gate gate;
    stream.hooks["openImpl"] = [&] { return gate.pass(); };
    stream.openAsync(); // nobody waits for a dropped future
    gate.await("entered");
    auto second = stream.openAsync();
    gate.add("released");
    EXPECT_TRUE(second.get()); // finds the stream open
    stream.closeAsync();
    stream.events.await("9>0");
    gate.clear();
    stream.events.clear();

    stream.hooks["openImpl"] = [&] {
        EXPECT_TRUE(stream.start());
        return gate.pass();
    };
    auto running = stream.openAsync();
    auto waiting = stream.openAsync();
    gate.await("entered");
    auto closed = stream.closeAsync();
    EXPECT_FALSE(waiting.get()); // although the first one is still at it
    std::jthread closer([&] { EXPECT_TRUE(stream.close()); });
    gate.add("released");
    EXPECT_TRUE(running.get());
    EXPECT_TRUE(closed.get());
    closer.join();
    EXPECT_EQ(stream.events.text(), "0>1 openImpl 1>2 2>9 closeImpl 9>0");
}

TEST(StreamThreads, WhatWaitsWhenTheStreamIsClosedForGoodFails) {
    struct Ending : ScriptedStream {
        using Stream::closeForGood;
    } stream;
    Gate gate;
    stream.hooks["openImpl"] = [&] { return gate.pass(); };
    auto running = stream.openAsync();
    gate.await("entered");
    auto queued = stream.closeAsync();
    std::jthread caller([&] { EXPECT_FALSE(stream.start()); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // for it to wait its turn
    std::jthread ending([&] { stream.closeForGood(); });
    EXPECT_FALSE(queued.get());
    caller.join();
    gate.add("released");
    EXPECT_TRUE(running.get());
    ending.join();
    EXPECT_EQ(stream.events.text(), "0>1 openImpl 1>2 2>9 closeImpl 9>0");
}

TEST(StreamThreads, ReconnectingHostIsServedUntilTheStreamIsDestroyed) {
    std::future<bool> reopened, tooLate;
    int openCount = 0;
    bool isDestroyed = false;
    {
        ScriptedStream stream;
        stream.hooks["openImpl"] = [&] { return ++openCount > 0; };
        stream.stateChanged.connect([&](const Stream::StateChange& change) {
            if (change.to == Stream::Closed)
                (isDestroyed ? tooLate : reopened) = stream.openAsync();
            EXPECT_FALSE(isDestroyed && (stream.open() || stream.start() || stream.close()));
        });
        ASSERT_TRUE(stream.open() && stream.close());
        ASSERT_TRUE(reopened.get());
        stream.work = [&] {
            while (stream.state() == Stream::Running)
                std::this_thread::yield();
            EXPECT_FALSE(stream.stop());
            return ScriptedStream::later();
        };
        ASSERT_TRUE(stream.start());
        stream.awaitWork(1);
        isDestroyed = true;
    }
    ASSERT_TRUE(tooLate.valid());
    EXPECT_FALSE(tooLate.get());
    EXPECT_EQ(openCount, 2);
}

TEST(StreamThreads, CallsFromTheStreamsOwnThreadsReturnAtOnce) {
    for (const std::string chosen : {"hook", "state change", "doWork", "output"}) {
        SCOPED_TRACE(chosen);
        ScriptedStream stream;
        const auto closeIn = [&](const char* place) {
            if (chosen != place)
                return;
            EXPECT_TRUE(stream.close());
            EXPECT_NE(stream.state(), Stream::Closed);
        };
        stream.hooks["startImpl"] = [&] {
            closeIn("hook");
            return true;
        };
        stream.stateChanged.connect([&](const Stream::StateChange& change) {
            if (change.to == Stream::Running)
                closeIn("state change");
        });
        stream.output.connect([&](const auto&) { closeIn("output"); });
        stream.work = [&] {
            closeIn("doWork");
            stream.output(nullptr);
            return ScriptedStream::later();
        };
        ASSERT_TRUE(stream.open() && stream.start());
        stream.events.await("9>0");
        EXPECT_EQ(stream.events.text(), "0>1 openImpl 1>2 2>3 startImpl 3>4 4>8 stopImpl 8>2 "
                                        "2>9 closeImpl 9>0");
    }
}

TEST(StreamThreads, ManyThreadsAtRandom) {
    ScriptedStream stream;
    std::atomic<int> brokenChain{0};
    std::atomic<int> last{Stream::Closed};
    // Every change goes on where the one before it ended.
    stream.stateChanged.connect([&](const Stream::StateChange& change) {
        if (last.exchange(change.to) != change.from)
            ++brokenChain;
    });
    stream.work = [&] {
        if (stream.workCount % 16 == 0)
            stream.stop();
        return ScriptedStream::again();
    };
    stream.hooks["startImpl"] = [n = 0]() mutable { return ++n % 5 != 0; };
    constexpr int threadCount = 4, callsPerThread = 150;
    {
        std::vector<std::jthread> threads;
        for (unsigned seed = 0; seed < threadCount; ++seed)
            threads.emplace_back([&stream, seed] {
                const std::function<void(Stream&)> calls[] = {
                    &Stream::open,      &Stream::start, &Stream::pause, &Stream::resume,
                    &Stream::openAsync, &Stream::stop,  &Stream::close, &Stream::closeAsync};
                std::mt19937 random(seed);
                std::discrete_distribution<std::size_t> choice{4, 4, 1, 1, 1, 1, 1, 1};
                for (int i = 0; i < callsPerThread; ++i)
                    calls[choice(random)](stream);
            });
    }
    EXPECT_TRUE(stream.close());
    EXPECT_EQ(stream.state(), Stream::Closed);
    EXPECT_FALSE(stream.hasOverlapped);
    EXPECT_EQ(brokenChain, 0);
    EXPECT_GT(stream.workCount, 0); // else the test has not tested much
}

#include <latch>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "ScriptedStream.h"

using namespace Morvalin;

namespace {

/// Holds a hook until the test lets it go, and tells when it has got there.
class Gate {
public:
    bool pass() {
        entered.count_down();
        released.wait();
        return true;
    }
    void awaitEntered() { entered.wait(); }
    void release() { released.count_down(); }

private:
    std::latch entered{1};
    std::latch released{1};
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

TEST(StreamThreads, DroppedFutureDoesNotWaitAndSecondOpenFindsTheStreamOpen) {
    ScriptedStream stream;
    Gate gate;
    stream.hooks["openImpl"] = [&] { return gate.pass(); };
    stream.openAsync();
    gate.awaitEntered();
    auto second = stream.openAsync();
    gate.release();
    EXPECT_TRUE(second.get());
    stream.closeAsync();
    stream.events.await("9>0");
    EXPECT_EQ(stream.events.text(), "0>1 openImpl 1>2 2>9 closeImpl 9>0");
}

TEST(StreamThreads, CloseCancelsWhatWaitsAndWaitsForWhatRuns) {
    ScriptedStream stream;
    Gate gate;
    stream.hooks["openImpl"] = [&] {
        EXPECT_TRUE(stream.start());
        return gate.pass();
    };
    auto running = stream.openAsync();
    auto waiting = stream.openAsync();
    gate.awaitEntered();
    auto closed = stream.closeAsync();
    EXPECT_FALSE(waiting.get()); // although the first one is still at it
    std::jthread closer([&] { EXPECT_TRUE(stream.close()); });
    gate.release();
    EXPECT_TRUE(running.get());
    EXPECT_TRUE(closed.get());
    closer.join();
    EXPECT_EQ(stream.events.text(), "0>1 openImpl 1>2 2>9 closeImpl 9>0");
}

TEST(StreamThreads, DestroyedWhileOpening) {
    for (int i = 0; i < 50; ++i) {
        Gate gate;
        std::future<bool> running, waiting;
        std::jthread opener;
        {
            ScriptedStream stream;
            stream.hooks["openImpl"] = [&] { return gate.pass(); };
            running = stream.openAsync();
            waiting = stream.openAsync();
            gate.awaitEntered();
            opener = std::jthread([&] {
                if (i % 2 == 1)
                    waiting.wait(); // cancelled, so the destructor has begun
                gate.release();
            });
        }
        EXPECT_TRUE(running.get());
        opener.join();
        EXPECT_TRUE(i % 2 == 0 || !waiting.get());
    }
}

TEST(StreamThreads, CallsFromTheStreamsOwnThreadsReturnAtOnce) {
    using Install = std::function<void(ScriptedStream&, std::function<bool()> close)>;
    const std::pair<const char*, Install> cases[] = {
        {"hook", [](auto& stream, auto close) { stream.hooks["startImpl"] = close; }},
        {"slot of a state change",
         [](auto& stream, auto close) {
             stream.stateChanged.connect([close](const Stream::StateChange& change) {
                 if (change.to == Stream::Running)
                     close();
             });
         }},
        {"doWork",
         [](auto& stream, auto close) {
             stream.work = [close] {
                 close();
                 return ScriptedStream::later();
             };
         }},
        {"slot of the output",
         [](auto& stream, auto close) {
             stream.output.connect([close](const std::shared_ptr<Data>&) { close(); });
             stream.work = [&stream] {
                 stream.output(nullptr);
                 return ScriptedStream::later();
             };
         }},
    };
    for (const auto& [name, install] : cases) {
        SCOPED_TRACE(name);
        ScriptedStream stream;
        install(stream, [&stream] {
            EXPECT_TRUE(stream.close());
            EXPECT_NE(stream.state(), Stream::Closed);
            return true;
        });
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
    stream.output.connect([&](const std::shared_ptr<Data>&) {
        if (stream.workCount % 16 == 0)
            stream.stop();
    });
    stream.work = [&] {
        stream.output(nullptr);
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

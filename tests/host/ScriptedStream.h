#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <morvalinstream/Stream.h>

/// What has happened, in order; other threads can wait for an event.
class Events {
public:
    void add(const std::string& event) {
        const std::lock_guard lock(mutex);
        happened.push_back(event);
        changed.notify_all();
    }
    void clear() {
        const std::lock_guard lock(mutex);
        happened.clear();
    }
    /// All of them, separated by blanks.
    std::string text() const {
        const std::lock_guard lock(mutex);
        std::string joined;
        for (const std::string& event : happened)
            joined += (joined.empty() ? "" : " ") + event;
        return joined;
    }
    /// Waits until the event has happened so many times.
    void await(const std::string& event, int times = 1) {
        std::unique_lock lock(mutex);
        changed.wait(lock,
                     [&] { return std::count(happened.begin(), happened.end(), event) >= times; });
    }

private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> happened;
};

/// A stream whose hooks do what a test says. Hooks and state changes are noted as events such as
/// "openImpl" and "0>1", calls of doWork() are counted. Hooks that the test leaves alone succeed;
/// doWork() asks for an hour's rest.
class ScriptedStream : public Morvalin::Stream {
public:
    using Work = std::optional<WorkContinuation>;

    ScriptedStream() : Stream("scripted") {
        stateChanged.connect([this](const StateChange& change) {
            EXPECT_EQ(state(), change.to);
            events.add(std::to_string(change.from) + ">" + std::to_string(change.to));
        });
    }
    ~ScriptedStream() override { closeForGood(); }

    std::string uuid() const override { return "ScriptedStream"; }
    bool supportsPausing() const override {
        const auto hook = hooks.find("supportsPausing");
        return hook == hooks.end() || hook->second();
    }
    bool worksWhilePaused() const override { return worksInPause; }

    static Work later() { return WorkContinuation{now() + std::chrono::hours(1), 1}; }
    static Work again() { return WorkContinuation{now(), 1}; }

    /// Waits until doWork() has begun so many times.
    void awaitWork(int times) {
        while (workCount < times)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    Events events;
    std::map<std::string, std::function<bool()>> hooks; ///< by name; set while nothing runs
    std::function<Work()> work;
    bool worksInPause = false;
    std::atomic<int> workCount{0};
    std::atomic<bool> hasOverlapped{false};

protected:
    bool openImpl() override { return call("openImpl"); }
    bool closeImpl() override { return call("closeImpl"); }
    bool startImpl() override { return call("startImpl"); }
    bool stopImpl() override { return call("stopImpl"); }
    bool pauseImpl() override { return call("pauseImpl"); }
    bool resumeImpl() override { return call("resumeImpl"); }
    Work doWork() override {
        const Inside inside(*this);
        ++workCount;
        return work ? work() : later();
    }

private:
    /// Notices hooks and doWork() that run at the same time.
    struct Inside {
        explicit Inside(ScriptedStream& owner) : stream(owner) {
            if (stream.isInHook.exchange(true))
                stream.hasOverlapped = true;
        }
        ~Inside() { stream.isInHook = false; }
        ScriptedStream& stream;
    };

    static std::chrono::system_clock::time_point now() { return std::chrono::system_clock::now(); }

    bool call(const std::string& name) {
        const Inside inside(*this);
        events.add(name);
        const auto hook = hooks.find(name);
        return hook == hooks.end() || hook->second();
    }

    std::atomic<bool> isInHook{false};
};

#include "tests/streams/Rig.h"

#include <morvalincore/Properties.h>

#include <future>
#include <thread>

namespace Morvalin {
namespace {

using namespace std::chrono_literals;

/// Runs functions again and again, each on a thread of its own, until destroyed.
class Busy {
public:
    explicit Busy(std::initializer_list<std::function<void()>> functions) {
        for (const auto& function : functions)
            threads.emplace_back([this, function] {
                while (!isEnding) {
                    function();
                    std::this_thread::yield();
                }
            });
    }
    ~Busy() {
        isEnding = true;
        for (std::thread& thread : threads)
            thread.join();
    }

private:
    std::atomic<bool> isEnding{false};
    std::vector<std::thread> threads;
};

/// What a panel and a workspace do, at any time.
template <int N>
void useLikeAPanel(PolarisAuroraTrackingStream<N>& stream) {
    Properties properties;
    stream.configuration(&properties);
    stream.configure(&properties);
    stream.setHardwareDevice(stream.hardwareDevice());
    stream.setHardwareIPPort(stream.hardwareIPPort());
    stream.setBinaryQueryMode(true);
    stream.setMaxRange(0);
    stream.setMeasurementRate(5);
    stream.maxRangeOptions();
    stream.stateDump();
    stream.setTraceSink([count = 0](auto, auto) mutable { ++count; });
    stream.setTraceSink({});
    stream.isInitialized();

    auto& registry = *stream.instruments();
    registry.create("t-", "model", "name", false);
    registry.setMainByIndex(registry.setMainById("1"));
    registry.modify("1", [](const std::string&, TrackingInstrument& live) { live.quality = 1; });
    registry.resetPoses(static_cast<std::int64_t>(registry.instruments().size()));
    registry.setActive("1", registry.isActive("1") || registry.mainInstrument());
    registry.instrument(registry.name("1") + registry.mainId());
    registry.remove(registry.size() > registry.mainIndex() ? "t-0" : "");
}

TEST(Concurrency, PanelWorksDuringASearch) {
    Rig<Vicra> rig;
    for (int i = 0; i < 3; ++i)
        rig.addTool("tool" + std::to_string(i), std::to_string(i));
    rig.stream.setHardwareDevice("auto");
    std::future<bool> isOpen = rig.stream.openAsync();
    {
        int registered = 0;
        const Busy busy({[&] { useLikeAPanel(rig.stream); },
                         [&] {
                             if (++registered < 200)
                                 rig.stream.registerTool({"late", "late.rom", 1, -1});
                         }});
        EXPECT_TRUE(isOpen.get());
    }
    EXPECT_GE(rig.instruments().size(), 3U);
    EXPECT_TRUE(rig.stream.close());
}

TEST(Concurrency, OperationsAndSettingsFromManyThreads) {
    Rig<Vega> rig;
    rig.addTool("a", "1");
    std::atomic<int> frames = 0;
    rig.stream.output.connect([&](const std::shared_ptr<const Data>&) {
        ++frames;
        rig.nextFrame();
    });
    rig.stream.instrumentsChanged.connect([&] { rig.stream.instruments()->mainId(); });
    {
        const Busy busy({[&] { useLikeAPanel(rig.stream); },
                         [&] {
                             rig.stream.open();
                             rig.stream.start();
                             std::this_thread::sleep_for(50ms);
                         },
                         [&] {
                             rig.stream.stop();
                             std::this_thread::sleep_for(20ms);
                         },
                         [&] {
                             std::this_thread::sleep_for(100ms);
                             rig.stream.close();
                         }});
        std::this_thread::sleep_for(2s);
    }
    rig.stream.close();
    rig.stream.instruments()->clear();
    EXPECT_TRUE(rig.stream.open() && rig.stream.start());
    const int before = frames;
    for (int i = 0; i < 6000 && frames == before; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_GT(frames, before);
    const std::function<void()> besideTheWorker[] = {
        [&] { rig.stream.stopImpl(); },
        [&] { rig.stream.startImpl(); },
        [&] { rig.stream.stateDump(); },
        [&] { rig.stream.setTraceSink([count = 0](auto, auto) mutable { ++count; }); },
    };
    for (std::size_t i = 0; i < 400; ++i) {
        besideTheWorker[i % std::size(besideTheWorker)]();
        std::this_thread::sleep_for(1ms);
    }
}

} // namespace
} // namespace Morvalin

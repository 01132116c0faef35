#include "streams/PolarisAuroraTrackingStream.h"
#include "tests/host/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Registry = ThreadSafeInstruments<NDITrackingInstrumentInfo>;

using Operation = std::function<std::uint32_t(Registry&)>;

struct Step {
    const char* what;
    Operation operation;
    std::uint32_t flags;
    const char* mainId;
    std::uint32_t mainIndex;
    const char* log; ///< without level and category; empty for none
};

std::unique_ptr<NDITrackingInstrumentInfo> info(std::int32_t handle) {
    auto record = std::make_unique<NDITrackingInstrumentInfo>();
    record->portHandle = handle;
    return record;
}

void run(const std::vector<Step>& steps) {
    Registry registry;
    LogCapture log;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        EXPECT_EQ(step.operation(registry), step.flags);
        EXPECT_EQ(registry.mainId(), step.mainId);
        EXPECT_EQ(registry.mainIndex(), step.mainIndex);
        const auto lines = log.take();
        if (*step.log == '\0')
            EXPECT_THAT(lines, IsEmpty());
        else
            EXPECT_THAT(lines, ElementsAre("[4] ThreadSafeInstruments: " + std::string(step.log)));
    }
}

Operation create(const char* id) {
    return [id](Registry& r) { return r.create(TrackerID(id, "n", "m"), true); };
}
Operation byIndex(std::uint32_t index) {
    return [index](Registry& r) { return r.setMainByIndex(index); };
}
Operation byId(const char* id) {
    return [id](Registry& r) { return r.setMainById(id); };
}
Operation removal(const char* id) {
    return [id](Registry& r) { return r.remove(id); };
}
const Operation clearing = [](Registry& r) { return r.clear(); };
const Operation counted = [](Registry& r) {
    const std::uint32_t flags = r.create("t-", "model", "name", false);
    EXPECT_FALSE(r.isActive("t-0"));
    EXPECT_EQ(r.instrument("t-0")->trackerId, TrackerID("t-0", "name", "model"));
    EXPECT_EQ(r.name("t-0"), "name");
    return flags;
};
const Operation activation = [](Registry& r) {
    const std::uint32_t flags = r.setActive("t-0", true);
    EXPECT_TRUE(r.mainInstrument()->active);
    EXPECT_THROW(r.modifyAll(Registry::ModifyFunction()), std::bad_function_call);
    return flags;
};
const Operation silentQuestions = [](Registry& r) {
    EXPECT_TRUE(r.name("x").empty() && !r.instrument("x") && !r.mainInstrument());
    return r.modifyAll(Registry::ModifyFunction()); // nobody to call it on
};

TEST(ThreadSafeInstruments, KeepsTrackOfTheMainInstrument) {
    run({
        {"clear when empty", clearing, 0, "", 0, ""},
        {"silent about unknown ids", silentQuestions, 0, "", 0, ""},
        {"unknown id made active", [](Registry& r) { return r.setActive("x", true); }, 0, "", 0,
         "setActive: Instrument with ID x not found"},
        {"unknown id asked for", [](Registry& r) { return r.isActive("x") ? 1U : 0U; }, 0, "", 0,
         "isActive: Instrument with ID x not found"},
        {"index of an empty registry", byIndex(1), 0, "", 0, "Index 1 exceeds size of instruments"},
        {"first", create("9"), 4 | 2, "9", 0, ""},
        {"second, before it in byte order", create("10"), 4, "9", 0, ""},
        {"double", create("9"), 0, "9", 0, "create: Instrument with ID 9 already exists"},
        {"same index, though another stands there", byIndex(0), 0, "9", 0, ""},
        {"same id at its place", byIndex(1), 0, "9", 1, ""},
        {"index equal to the count", byIndex(2), 0, "9", 1, "Index 2 exceeds size of instruments"},
        {"by index", byIndex(0), 2, "10", 0, ""},
        {"by id", byId("9"), 2, "9", 1, ""},
        {"by the same id", byId("9"), 0, "9", 1, ""},
        {"by unknown id", byId("x"), 0, "9", 1, "setMainById: Instrument with ID x not found"},
        {"remove another", removal("10"), 4, "9", 1, ""},
        {"remove unknown", removal("10"), 0, "9", 1, "remove: Instrument with ID 10 not found"},
        {"third", create("7"), 4, "9", 1, ""},
        {"remove the main one", removal("9"), 4 | 2, "7", 0, ""},
        {"remove the last one", removal("7"), 4 | 2, "", 0, ""},
        {"counted ids", counted, 4 | 2, "t-0", 0, ""},
        {"next number", counted, 4, "t-0", 0, ""},
        {"made active", activation, 0, "t-0", 0, ""},
        {"clear", clearing, 4 | 2, "", 0, ""},
    });
}

Operation change(std::function<void(TrackingInstrument&)> function) {
    return [function](Registry& r) {
        return r.modify("a", [&](const std::string&, TrackingInstrument& live) { function(live); });
    };
}
Operation pose(const char* id) {
    return [id](Registry& r) { return r.setPose(id, Matrix4::Identity(), 1, 5, 4); };
}
template <class Function>
Operation emptyChange(const char* id) {
    return [id](Registry& r) { return r.modify(id, Function()); };
}
const Operation resetting = [](Registry& r) { return r.resetPoses(5); };
const Operation withRecord = [](Registry& r) { return r.create({"a", "n", "m"}, info(7), true); };
const Operation ofAllRecords = [](Registry& r) {
    return r.modifyAll(
        [](const std::string&, TrackingInstrument& live, NDITrackingInstrumentInfo& record) {
            EXPECT_EQ(record.portHandle, 7);
            live.quality = 0.25;
        });
};

TEST(ThreadSafeInstruments, ReportsWhatAModificationChanged) {
    using Special = Registry::ModifySpecialFunction;
    const char* const idLog =
        "ID must not be modified. TrackingInstrument is reset to state before modification";
    const auto state = [](std::int32_t expected) {
        return change([expected](auto& i) { EXPECT_EQ(i.trackingState, expected); });
    };
    const auto isBack = [](auto& i) {
        EXPECT_EQ(i.trackerId, TrackerID("a", "N", "M"));
        EXPECT_EQ(i.toolType, "Probe");
    };
    run({
        {"create", withRecord, 6, "a", 0, ""},
        {"nothing", change([](auto&) {}), 0, "a", 0, ""},
        {"active only", change([](auto& i) { i.active = false; }), 0, "a", 0, ""},
        {"tool type only", change([](auto& i) { i.toolType = "Probe"; }), 0, "a", 0, ""},
        {"name", change([](auto& i) { i.trackerId.name = "N"; }), 4, "a", 0, ""},
        {"model", change([](auto& i) { i.trackerId.modelNumber = "M"; }), 4, "a", 0, ""},
        {"timestamp", change([](auto& i) { i.timestamp = 5; }), 1, "a", 0, ""},
        {"last of the matrix", change([](auto& i) { i.matrix(3, 3) = 2; }), 1, "a", 0, ""},
        {"quality", change([](auto& i) { i.quality = 0.5; }), 1, "a", 0, ""},
        {"state", change([](auto& i) { i.trackingState = 3; }), 1, "a", 0, ""},
        {"id", change([](auto& i) { i.trackerId = TrackerID("b", "x", "y"); }), 0, "a", 0, idLog},
        {"put back", change(isBack), 0, "a", 0, ""},
        {"both", change([](auto& i) { i.trackerId.name = "n", i.quality = 1; }), 5, "a", 0, ""},
        {"pose", pose("a"), 1, "a", 0, ""},
        {"its state", state(4), 0, "a", 0, ""},
        {"pose of unknown id", pose("b"), 0, "a", 0, ""},
        {"reset", resetting, 1, "a", 0, ""},
        {"reset again", resetting, 0, "a", 0, ""},
        {"state that was reset", state(0), 0, "a", 0, ""},
        {"unknown id", emptyChange<Special>("b"), 0, "a", 0, ""},
        {"the same", emptyChange<Registry::ModifyFunction>("b"), 0, "a", 0, ""},
        {"one without a record", create("b"), 4, "a", 0, ""},
        {"its record", emptyChange<Special>("b"), 0, "a", 0,
         "modify: Special object for instrument with ID b does not exist"},
        {"all records", ofAllRecords, 1, "a", 0,
         "modifyAll: Special object for instrument with ID b does not exist"},
    });
}

TEST(ThreadSafeInstruments, FunctionThatThrowsLeavesItsInstrumentAsItWas) {
    const auto spoil = [](const std::string& id, TrackingInstrument& live, auto&...) {
        live.quality = 0.5;
        if (id == "a")
            return;
        live.trackerId = TrackerID("c", "x", "y");
        throw std::runtime_error("no memory");
    };
    using Function = Registry::ModifyFunction;
    using Special = Registry::ModifySpecialFunction;
    const Operation table[] = {
        [&](Registry& r) { return r.modify("b", Function(spoil)); },
        [&](Registry& r) { return r.modify("b", Special(spoil)); },
        [&](Registry& r) { return r.modifyAll(Function(spoil)); },
        [&](Registry& r) { return r.modifyAll(Special(spoil)); },
    };
    Registry registry;
    LogCapture log;
    registry.create({"a", "n", "m"}, info(7), true);
    registry.create({"b", "n", "m"}, info(8), true);
    for (const Operation& operation : table) {
        EXPECT_THAT([&] { operation(registry); },
                    testing::ThrowsMessage<std::runtime_error>("no memory"));
        EXPECT_EQ(registry.instrument("b")->trackerId, TrackerID("b", "n", "m"));
        EXPECT_EQ(registry.instrument("b")->quality, 0);
    }
    EXPECT_EQ(registry.instrument("a")->quality, 0.5); // what came before stays
    EXPECT_THAT(log.take(), IsEmpty());
}

struct Tracker : PolarisAuroraTrackingStream<NDIDeviceFamily::Aurora> {
    explicit Tracker(std::shared_ptr<Registry> registry) { setInstruments(std::move(registry)); }
    using TrackingStream::createTrackingStreamData;
};

TEST(TrackingStream, FrameIsASnapshotThatAgreesWithItself) {
    struct ChangingRegistry : Registry {
        std::string mainId() const override { return "b"; } // also when it has just been removed
    };
    const auto registry = std::make_shared<ChangingRegistry>();
    for (const auto& [id, timestamp] : {std::pair{"a", 9000}, {"b", 3000}, {"c", 1000}}) {
        registry->create(TrackerID(id, "n", "m"), *id != 'a');
        registry->setPose(id, Matrix4::Identity(), 1, timestamp, 0);
    }
    const Tracker stream(registry);
    const auto frame = stream.createTrackingStreamData();
    EXPECT_EQ(frame->streamName, "NDI Aurora Tracking Stream");
    EXPECT_EQ(frame->mainId, "b");
    EXPECT_EQ(frame->timestamp, 3000); // of the active ones
    ASSERT_EQ(stream.activeInstruments().size(), 2u);
    EXPECT_EQ(stream.activeInstruments()[0].trackerId.ID, "b");
    registry->remove("b");
    EXPECT_EQ(stream.createTrackingStreamData()->mainId, "");
    ASSERT_EQ(frame->instruments.size(), 3u);
    EXPECT_EQ(frame->instruments[0].trackerId, TrackerID("a", "n", "m"));
    // Without an active instrument that was measured, the frame's time is the clock's.
    for (const std::int64_t timestamp : {0, -5, 4000}) {
        registry->setActive("c", timestamp <= 0);
        registry->setPose("c", Matrix4::Identity(), 1, timestamp, 0);
        EXPECT_GT(stream.createTrackingStreamData()->timestamp, 1'000'000'000'000);
    }
}

} // namespace
} // namespace Morvalin

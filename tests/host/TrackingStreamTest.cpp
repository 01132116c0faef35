#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvalinstream/TrackingStream.h>

#include "CapturedLog.h"

using namespace Morvalin;
using testing::IsEmpty;
using testing::NiceMock;
using testing::Return;

namespace {

class MockInstruments : public ThreadSafeInstrumentsBase {
public:
    using Flags = std::uint32_t;
    using Text = const std::string&;
    MOCK_METHOD(std::vector<TrackingInstrument>, instruments, (), (const, override));
    MOCK_METHOD(std::optional<TrackingInstrument>, mainInstrument, (), (const, override));
    MOCK_METHOD(Flags, setMainByIndex, (std::uint32_t), (override));
    MOCK_METHOD(Flags, setMainById, (Text), (override));
    MOCK_METHOD(std::uint32_t, mainIndex, (), (const, override));
    MOCK_METHOD(std::string, mainId, (), (const, override));
    MOCK_METHOD(std::string, name, (Text), (const, override));
    MOCK_METHOD(Flags, setActive, (Text, bool), (override));
    MOCK_METHOD(bool, isActive, (Text), (const, override));
    MOCK_METHOD(Flags, create, (const TrackerID&, bool), (override));
    MOCK_METHOD(Flags, create, (Text, Text, Text, bool), (override));
    MOCK_METHOD(Flags, remove, (Text), (override));
    MOCK_METHOD(Flags, clear, (), (override));
    MOCK_METHOD(Flags, resetPoses, (std::int64_t), (override));
    MOCK_METHOD(Flags, setPose, (Text, const Matrix4&, double, std::int64_t, std::int32_t),
                (override));
    MOCK_METHOD(Flags, modify, (Text, const ModifyFunction&), (override));
    MOCK_METHOD(Flags, modifyAll, (const ModifyFunction&), (override));
    MOCK_METHOD(std::size_t, size, (), (const, override));
    MOCK_METHOD(std::optional<TrackingInstrument>, instrument, (Text), (const, override));
};

class TestTrackingStream : public TrackingStream {
public:
    explicit TestTrackingStream(std::shared_ptr<ThreadSafeInstrumentsBase> registry = nullptr) :
        TrackingStream("tracker") {
        if (registry)
            setInstruments(std::move(registry));
    }
    std::string uuid() const override { return "Test"; }
    using TrackingStream::createTrackingStreamData;
    using TrackingStream::emitSignals;

protected:
    bool openImpl() override { return true; }
    bool closeImpl() override { return true; }
    bool startImpl() override { return true; }
    bool stopImpl() override { return true; }
    std::optional<WorkContinuation> doWork() override { return std::nullopt; }
};

TrackingInstrument instrument(const std::string& id, std::int64_t timestamp, bool active) {
    TrackingInstrument result;
    result.trackerId = TrackerID(id, "name of " + id, "model");
    result.timestamp = timestamp;
    result.active = active;
    return result;
}

} // namespace

TEST(TrackingStream, WithoutRegistryHoldsNothingAndStaysSilent) {
    CapturedLog log;
    TestTrackingStream stream;
    const auto registry = stream.instruments();
    ASSERT_NE(registry, nullptr);
    const auto mustNotRun = [](const std::string&, TrackingInstrument&) { FAIL(); };
    EXPECT_EQ(registry->create(TrackerID("a", "n", "m"), true) |
                  registry->create("base", "m", "n", true) | registry->setMainById("a") |
                  registry->setMainByIndex(1) | registry->remove("a") |
                  registry->setActive("a", true) | registry->clear() | registry->resetPoses(1) |
                  registry->modify("a", mustNotRun) | registry->modifyAll(mustNotRun),
              0u);
    EXPECT_FALSE(registry->mainInstrument() || registry->instrument("a"));
    EXPECT_EQ(stream.numInstruments(), 0u);
    const auto before = std::chrono::system_clock::now().time_since_epoch();
    const auto frame = stream.createTrackingStreamData();
    EXPECT_THAT(frame->instruments, IsEmpty());
    EXPECT_EQ(frame->mainId, "");
    // The clock's, for want of an instrument.
    EXPECT_GE(frame->timestamp, before / std::chrono::milliseconds(1));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(TrackingStream, FrameIsASnapshotThatAgreesWithItself) {
    const auto registry = std::make_shared<NiceMock<MockInstruments>>();
    std::vector<TrackingInstrument> held = {
        instrument("a", 2000, false), instrument("b", 3000, true), instrument("c", 1000, true)};
    ON_CALL(*registry, instruments()).WillByDefault([&] { return held; });
    ON_CALL(*registry, mainId()).WillByDefault(Return("b"));
    TestTrackingStream stream(registry);

    const auto frame = stream.createTrackingStreamData();
    EXPECT_EQ(frame->streamName, "tracker");
    EXPECT_EQ(frame->mainId, "b");
    EXPECT_EQ(frame->timestamp, 3000);
    ASSERT_EQ(frame->instruments.size(), 3u);
    EXPECT_EQ(frame->instruments[0].trackerId, held[0].trackerId);
    ASSERT_EQ(stream.activeInstruments().size(), 2u);
    EXPECT_EQ(stream.activeInstruments()[0].trackerId.ID, "b");

    held.erase(held.begin() + 1); // as if removed between the two questions
    EXPECT_EQ(stream.createTrackingStreamData()->mainId, "");
    EXPECT_EQ(frame->instruments.size(), 3u);
}

TEST(TrackingStream, OneSignalForEachFlag) {
    TestTrackingStream stream;
    std::string emitted;
    stream.instrumentDataChanged.connect([&] { emitted += "data "; });
    stream.mainInstrumentChanged.connect([&] { emitted += "main "; });
    stream.instrumentsChanged.connect([&] { emitted += "set "; });
    const char* const expected[] = {"",     "data ",     "main ",     "main data ",
                                    "set ", "set data ", "set main ", "set main data "};
    for (std::uint32_t flags = 0; flags < 8; ++flags) {
        emitted.clear();
        stream.emitSignals(flags);
        EXPECT_EQ(emitted, expected[flags]) << flags;
    }
}

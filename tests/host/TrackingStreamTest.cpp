#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"

#include <morvalinstream/TrackingStream.h>

using namespace Morvalin;
using testing::IsEmpty;

namespace {

class TestTrackingStream : public TrackingStream {
public:
    TestTrackingStream() : TrackingStream("tracker") { setInstruments(nullptr); }
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

} // namespace

TEST(TrackingStream, WithoutRegistryHoldsNothingAndStaysSilent) {
    LogCapture log;
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
    EXPECT_THAT(log.take(), IsEmpty());
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

#pragma once

#include "tests/faults/FrameCheck.h"
#include "tests/faults/Process.h"
#include "tests/streams/Rig.h"

#include <chrono>
#include <string>
#include <thread>

namespace Morvalin {

using namespace std::chrono_literals;

/// Only there to end a test that hangs.
constexpr auto hangGuard = 30s;

template <class Condition>
bool eventually(const Condition& condition, std::chrono::milliseconds limit = hangGuard) {
    for (const auto end = std::chrono::steady_clock::now() + limit; !condition();
         std::this_thread::sleep_for(1ms))
        if (std::chrono::steady_clock::now() > end)
            return false;
    return true;
}

/// The rig of the fault tests: two tools, and stray markers whose number changes with the frame.
/// Every frame is compared with the measurement that the device answered last. Where an answer is
/// to stay away, `patience` is short enough for the tests, and longer than a busy machine needs.
template <int N>
class FaultRig : public Rig<N> {
public:
    enum class Timeouts { Short, Real };
    explicit FaultRig(Timeouts timeouts = Timeouts::Short) : Rig<N>(options()) {
        for (const char* partNumber : {"4711", "4712"})
            if (N != Aurora)
                this->addTool(partNumber, partNumber);
        this->stream.output.connect([this](const auto& data) { check(*data); });
        if (timeouts == Timeouts::Short)
            this->stream.setTraceSink([this](auto kind, std::string_view text) {
                if (kind == Diagnosable::Traffic::Sent)
                    setTimeouts(text);
            });
    }

    ~FaultRig() { this->stream.close(); }

    void nextFrame() {
        Rig<N>::nextFrame();
        this->simulator.withDevice([this](ndisim::Device& device) {
            if (N != Aurora)
                device.setStrays(++steps % 4);
        });
    }

    void nextFrameUntil(const std::function<bool()>& condition,
                        std::chrono::milliseconds limit = hangGuard) {
        const bool isDone = eventually(
            [&] {
                nextFrame();
                return condition();
            },
            limit);
        if (limit == hangGuard) {
            EXPECT_TRUE(isDone) << "no frames, or the fault never came";
        }
    }

    /// So many more frames, or as many as come within a limit.
    void streamOn(int count = 3, std::chrono::milliseconds limit = hangGuard) {
        nextFrameUntil([this, end = frames + count] { return frames >= end; }, limit);
    }

    /// Opens, streams and closes without a fault, and says what the device was asked and answered.
    std::vector<ndisim::Exchange> healthySession(bool isBinary = true) {
        setPatience(5000ms);
        this->simulator.clearLog();
        this->log.take();
        this->stream.setBinaryQueryMode(isBinary);
        EXPECT_TRUE(this->stream.open());
        EXPECT_TRUE(this->stream.start());
        streamOn();
        EXPECT_TRUE(this->stream.stop());
        EXPECT_THAT(this->instruments(),
                    testing::Each(testing::Field(&TrackingInstrument::quality, testing::Gt(0.5))));
        EXPECT_EQ(this->instruments().size(), 2U);
        EXPECT_TRUE(this->stream.close());
        EXPECT_THAT(this->log.take(4), testing::IsEmpty());
        EXPECT_EQ(takeWrong(), "");
        EXPECT_TRUE(eventually([this] { return N != Vega || !this->simulator.hasClient(); }));
        return this->simulator.exchanges();
    }

    /// Returns when what the simulator sends for the last command has gone out.
    void settle(const std::string& command) {
        EXPECT_TRUE(this->simulator.waitForCommand(command, hangGuard));
        this->simulator.resume();
    }

    /// For the answers to come.
    void setPatience(std::chrono::milliseconds limit) {
        patience = limit;
        protocol::probeAnswerMs = static_cast<int>(limit.count());
    }

    /// What was wrong with the first bad frame since the last call.
    std::string takeWrong() { return wrong.exchange({}); }

    std::atomic<int> frames = 0;

private:
    static ndisim::DeviceOptions options() {
        ndisim::DeviceOptions options;
        options.strays = N == Aurora ? 0 : 3;
        if (N == Aurora)
            options.tools = {ndisim::parseWiredTool("1:probe:P"),
                             ndisim::parseWiredTool("2:reference:R")};
        return options;
    }

    /// On the stream's thread, before it sends the next command.
    void check(const Data& data) {
        const auto exchanges = this->simulator.exchanges();
        const ndisim::Exchange own = exchanges.empty() ? ndisim::Exchange() : exchanges.back();
        std::string text;
        this->simulator.withDevice([&](const ndisim::Device& device) {
            text = wrongIn(dynamic_cast<const TrackingStreamData&>(data), own, device);
        });
        if (!text.empty())
            text += ", after " + own.command + " " + own.fault;
        wrong.access([&](std::string& first) { first = first.empty() ? text : first; });
        ++frames;
    }

    /// The stream sets its own when it opens a line and behind a network device's INIT.
    void setTimeouts(std::string_view command) {
        const bool isBringUp = command.starts_with("COMM") || command.starts_with("INIT");
        if (isBringUp || wasBringUp)
            setAnswerTimeouts(this->simulator.address(), patience.load());
        wasBringUp = isBringUp;
    }

    std::atomic<std::chrono::milliseconds> patience = 5000ms;
    Guarded<std::string> wrong;
    unsigned steps = 0;
    bool wasBringUp = false;
};

inline std::string familyName(int number) {
    return number == Vicra ? "Vicra" : number == Vega ? "Vega" : "Aurora";
}

/// The name of a cell of family and row.
constexpr auto nameOfCell = [](const auto& cell) {
    return familyName(std::get<0>(cell.param)) + std::get<1>(cell.param).name;
};

/// What a matrix says of a command: the name; for COMM with the speed, as it goes to the device
/// when the connection is made and when it is left, for PHINF with the question.
inline std::string keyOf(const std::string& command) {
    return command.starts_with("COMM")    ? command.substr(0, 6)
           : command.starts_with("PHINF") ? command
                                          : command.substr(0, command.find(':'));
}

} // namespace Morvalin

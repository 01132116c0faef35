#pragma once

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

/// The rig of the fault tests: one tool, a few stray markers, and time-outs between the 5 s that
/// would make the tests long and the 100 ms that a busy machine may need.
template <int N>
class FaultRig : public Rig<N> {
public:
    enum class Timeouts { Short, Real };
    explicit FaultRig(Timeouts timeouts = Timeouts::Short) : Rig<N>(options()) {
        if (N != Aurora)
            this->addTool("tool", "4711");
        this->stream.output.connect([this](const auto&) { ++frames; });
        if (timeouts == Timeouts::Short)
            this->stream.setTraceSink([this](Diagnosable::Traffic kind, std::string_view text) {
                // The stream sets its own before the first and behind the second of a network
                // device's commands, and when it opens a line.
                if (kind == Diagnosable::Traffic::Sent &&
                    (text.starts_with("COMM") || text.starts_with("INIT") ||
                     text.starts_with("SFLIST")))
                    setAnswerTimeouts(this->simulator.address(), 250ms);
            });
    }

    void nextFrameUntil(const std::function<bool()>& condition,
                        std::chrono::milliseconds limit = hangGuard) {
        const bool isDone = eventually(
            [&] {
                this->nextFrame();
                return condition();
            },
            limit);
        if (limit == hangGuard) {
            EXPECT_TRUE(isDone) << "no frames, or the fault never came";
        }
    }

    /// Opens, streams and closes without a fault, and says what the device was asked and answered.
    std::vector<ndisim::Exchange> healthySession(bool isBinary = true) {
        this->simulator.clearLog();
        this->log.take();
        this->stream.setBinaryQueryMode(isBinary);
        EXPECT_TRUE(this->stream.open());
        EXPECT_TRUE(this->stream.start());
        nextFrameUntil([this, before = frames.load()] { return frames > before + 2; });
        EXPECT_TRUE(this->stream.stop());
        EXPECT_THAT(this->instruments(),
                    testing::Each(testing::Field(&TrackingInstrument::quality, testing::Gt(0.5))));
        EXPECT_TRUE(this->stream.close());
        EXPECT_THAT(this->log.take(4), testing::IsEmpty());
        EXPECT_TRUE(eventually([this] { return N != Vega || !this->simulator.hasClient(); }));
        return this->simulator.exchanges();
    }

    /// Returns when what the simulator sends for the last command has gone out.
    void settle(const std::string& command) {
        EXPECT_TRUE(this->simulator.waitForCommand(command, hangGuard));
        this->simulator.resume();
    }

    std::atomic<int> frames = 0;

private:
    static ndisim::DeviceOptions options() {
        ndisim::DeviceOptions options;
        options.strays = N == Aurora ? 0 : 3;
        if (N == Aurora)
            options.tools.push_back(ndisim::parseWiredTool("1:probe:P"));
        return options;
    }
};

/// Calls a function template's instance for a family that is known at run time.
template <class Function>
void forFamily(int number, const Function& function) {
    if (number == Vicra)
        function.template operator()<Vicra>();
    else if (number == Vega)
        function.template operator()<Vega>();
    else
        function.template operator()<Aurora>();
}

inline std::string familyName(int number) {
    return number == Vicra ? "Vicra" : number == Vega ? "Vega" : "Aurora";
}

/// What a matrix says of a command: the name, and for COMM the speed, as it goes to the device when
/// the connection is made and when it is left.
inline std::string keyOf(const std::string& command) {
    return command.starts_with("COMM") ? command.substr(0, 6)
                                       : command.substr(0, command.find(':'));
}

} // namespace Morvalin

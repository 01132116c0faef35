#include "soak/SoakStream.h"

#include "protocol/transport.h"
#include "simulator/Simulator.h"
#include "soak/FrameCount.h"
#include "streams/PolarisAuroraTrackingStream.h"
#include "tests/faults/Process.h"

#include <chrono>
#include <fstream>
#include <iostream>
#include <random>
#include <thread>

namespace Morvalin {
namespace {

using namespace std::chrono_literals;

constexpr auto serialTimeout = 250ms; // instead of 5 s, of which a minute has not many

/// Of each kind of fault, and there are nine: about one a second while a stream runs, and one in
/// fifty commands in every third session.
constexpr const char* measurementFaultRate = "~0.0006";
constexpr const char* everywhereFaultRate = "~0.002";

/// Answers that may be lost without a fault: a machine that stands still for 100 ms lets a network
/// device's come too late.
std::uint64_t mayBeLost(std::uint64_t measured) {
    return 2 + measured / 500;
}

/// A stream asks every 5 ms and a frame lasts 16 to 50 ms, so one that nobody asked for had a
/// machine without a processor to spare. More than this is no load any more.
std::uint64_t mayGoUnasked(std::uint64_t measured) {
    return 2 + measured / 2;
}

template <int N>
class Soak : public SoakStream {
    static constexpr bool isNetwork = N == NDIDeviceFamily::PolarisVega;
    static constexpr ndisim::Family family = N == NDIDeviceFamily::PolarisVicra
                                                 ? ndisim::Family::Vicra
                                             : isNetwork ? ndisim::Family::Vega
                                                         : ndisim::Family::Aurora;

public:
    explicit Soak(const Settings& wanted) :
        settings(wanted), simulator(simulatorOptions()), frames(simulator, family),
        random(wanted.seed) {
        simulator.start();
        stream.setHardwareDevice(isNetwork ? "127.0.0.1"
                                           : "COM" + std::to_string(settings.serialPort + 1));
        if (isNetwork)
            stream.setHardwareIPPort(simulator.port());
        else
            serialAssignPort(settings.serialPort, simulator.address().c_str());
        for (int i = 1; family != ndisim::Family::Aurora && i <= 3; ++i)
            addTool(i);
        stream.setTraceSink([this](Diagnosable::Traffic, std::string_view text) {
            if (!isNetwork && text.starts_with("COMM"))
                setAnswerTimeouts(simulator.address(), serialTimeout);
        });
        stream.output.connect([this](const std::shared_ptr<const Data>& data) {
            frames.add(dynamic_cast<const TrackingStreamData&>(*data));
        });
    }

    void warmUp() override { session(500ms, false); }

    void run(const std::atomic<bool>& mayEnd) override {
        while (!mayEnd)
            session(std::chrono::milliseconds(1000 + random() % 5000), true);
    }

    bool report() const override {
        const FrameCount::Totals& t = frames.totals;
        // A machine that stands still for 100 ms in a set-up makes a session silent.
        const bool isGood = t.lost <= mayBeLost(t.measured) &&
                            t.notAskedFor <= mayGoUnasked(t.measured) && t.doubled == 0 &&
                            t.wrong == 0 && silentSessions <= 1 + sessions / 50 && t.delivered > 0;
        std::cout << (isGood ? "OK   " : "BAD  ") << settings.name << ": " << t.measured
                  << " frames measured, " << t.delivered << " delivered, " << t.lostToFaults
                  << " lost to faults, " << t.notAskedFor << " not asked for (at most "
                  << mayGoUnasked(t.measured) << "), " << t.lost << " lost (at most "
                  << mayBeLost(t.measured) << "), " << t.doubled << " doubled, " << t.wrong
                  << " wrong, " << simulator.faultCount() << " faults, " << sessions
                  << " sessions, " << failedOpens << " not opened, " << silentSessions
                  << " silent for no reason" << std::endl;
        return isGood;
    }

private:
    ndisim::SimulatorOptions simulatorOptions() const {
        ndisim::SimulatorOptions options;
        options.device.family = family;
        options.device.strays = family == ndisim::Family::Aurora ? 0 : 10;
        if (family == ndisim::Family::Aurora)
            options.device.tools = {ndisim::parseWiredTool("1:probe:A"),
                                    ndisim::parseWiredTool("2:probe:B")};
        if (!isNetwork)
            options.address = ndisim::PtyAddress{settings.folder / settings.name};
        options.seed = settings.seed;
        options.logLimit = 100;
        return options;
    }

    void addTool(int number) {
        std::string image(1024, '\0');
        image.replace(592, 1, std::to_string(number));
        const auto path = settings.folder / (settings.name + std::to_string(number) + ".rom");
        std::ofstream(path, std::ios::binary) << image;
        stream.registerTool({"tool " + std::to_string(number), path.string(), number, -1});
    }

    void addFaults() {
        const std::string measurement = random() % 2 == 0 ? "BX" : "TX";
        stream.setBinaryQueryMode(measurement == "BX");
        const bool spoilsAll = random() % 3 == 0;
        for (const ndisim::FaultKind kind : ndisim::FaultPlan::mildKinds()) {
            const std::string name = ndisim::faultText({kind, {}, {}, {}});
            simulator.addFault(name + "@" + measurement + measurementFaultRate);
            if (spoilsAll)
                simulator.addFault(name + "@*" + everywhereFaultRate);
        }
    }

    void session(std::chrono::milliseconds duration, bool isFaulty) {
        ++sessions;
        simulator.clearFaults();
        simulator.replug();
        simulator.resume();
        if (isFaulty)
            addFaults();
        const std::size_t faults = simulator.faultCount();
        if (!stream.open()) {
            ++failedOpens;
            silentSessions += simulator.faultCount() == faults ? 1 : 0;
            return;
        }
        const std::uint64_t delivered = frames.totals.delivered;
        frames.beginSession();
        stream.start();
        std::this_thread::sleep_for(duration);
        if (isFaulty)
            loseConnection();
        stream.close();
        // A tool that was not set up because of a fault gives no poses.
        if (frames.totals.delivered == delivered && simulator.faultCount() == faults)
            ++silentSessions;
    }

    /// Three of four times, and the stream goes on asking for a while.
    void loseConnection() {
        switch (random() % 4) {
        case 0:
            return;
        case 1:
            simulator.closeConnection();
            break;
        case 2:
            simulator.halfOpen();
            break;
        default:
            simulator.unplug();
            break;
        }
        std::this_thread::sleep_for(300ms);
    }

    const Settings settings;
    ndisim::Simulator simulator;
    FrameCount frames;
    PolarisAuroraTrackingStream<N> stream;
    std::mt19937_64 random;
    int sessions = 0;
    int failedOpens = 0;
    int silentSessions = 0;
};

} // namespace

std::unique_ptr<SoakStream> SoakStream::make(const Settings& settings) {
    switch (settings.kind) {
    case Kind::Vicra:
        return std::make_unique<Soak<NDIDeviceFamily::PolarisVicra>>(settings);
    case Kind::Aurora:
        return std::make_unique<Soak<NDIDeviceFamily::Aurora>>(settings);
    default:
        return std::make_unique<Soak<NDIDeviceFamily::PolarisVega>>(settings);
    }
}

} // namespace Morvalin

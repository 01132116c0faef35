#include "bench/BareLine.h"
#include "bench/Paired.h"
#include "bench/Rig.h"
#include "protocol/device.h"

#include <functional>
#include <string>

// What the product adds to the bytes on the line: both sides ask peers of the same kind, with the
// same request, for the same replies.
namespace bench {
namespace {

/// The bytes of a scene, bare, on a line of its own.
class Bare {
public:
    Bare(Line kind, ndisim::Family family, const Scene& scene, bool isBinary) :
        m_device(family, scene), m_command(CannedDevice::command(isBinary)),
        m_replyLength(m_device.reply(isBinary).size()),
        m_peer(kind, [this](std::string_view request) { return m_device.answer(request); }),
        m_line(m_peer) {}

    void run() {
        for (int i = 0; i < exchanges; ++i) {
            m_line.exchange(m_command, m_replyLength);
        }
    }

    /// What the time added to an exchange is told in, on a socket.
    std::function<void()> unit() {
        if (m_peer.kind() != Line::Tcp) {
            return {};
        }
        return [this] {
            for (int i = 0; i < exchanges; ++i) {
                m_line.receiveNothing();
            }
        };
    }

private:
    CannedDevice m_device;
    const std::string m_command;
    const std::size_t m_replyLength;
    Peer m_peer;
    BareLine m_line;
};

void runCommand(benchmark::State& state, Line kind, bool isBinary) {
    const OneCore pinned;
    const Scene scene;
    Bare bare(kind, ndisim::Family::Vega, scene, isBinary);
    CannedDevice device(ndisim::Family::Vega, scene);
    const Peer peer(kind, [&](std::string_view request) { return device.answer(request); });
    const bool isTcp = kind == Line::Tcp;
    DeviceRecord* const record =
        isTcp ? deviceOpenNetwork("127.0.0.1", peer.port()) : deviceOpenSerial(peer.path().c_str());
    if (isTcp) {
        deviceSetNetworkTimeout(record, 1000 * receiveTimeoutSeconds);
    }
    compare(
        state, exchanges, [&] { bare.run(); },
        [&] {
            for (int i = 0; i < exchanges; ++i) {
                deviceCommand(record, isBinary ? "BX:%04X" : "TX:%04X",
                              isBinary ? 0x180FU : 0x1005U);
            }
        },
        bare.unit());
    if (deviceGetError(record) != 0) {
        state.SkipWithError("an exchange failed");
    }
    isTcp ? deviceCloseNetwork(record) : deviceCloseSerial(record);
}

template <class Rig>
void poll(Rig& rig) {
    for (int i = 0; i < exchanges; ++i) {
        rig.stream.doWork();
    }
}

/// A poll that a busy machine keeps waiting for 100 ms gives no frame; few may.
template <class Rig>
void expectFrames(benchmark::State& state, const Rig& rig) {
    const auto polls = static_cast<double>(state.iterations() * exchanges);
    if (static_cast<double>(rig.frames) < 0.99 * polls) {
        state.SkipWithError("polls without a frame");
    }
}

template <class Rig>
void runWork(benchmark::State& state, const Scene& scene, bool isBinary) {
    const OneCore pinned;
    Bare bare(Rig::line, Rig::family, scene, isBinary);
    Rig rig(scene);
    rig.stream.setBinaryQueryMode(isBinary);
    compare(
        state, exchanges, [&] { bare.run(); }, [&] { poll(rig); }, bare.unit());
    expectFrames(state, rig);
    state.counters["tools"] = scene.tools;
    state.counters["strays"] = scene.strays;
}

/// Text against binary: two streams, no bare side.
template <class Rig>
void runModes(benchmark::State& state) {
    const OneCore pinned;
    Rig binary{Scene{}};
    Rig text{Scene{}};
    text.stream.setBinaryQueryMode(false);
    compare(
        state, exchanges, [&] { poll(binary); }, [&] { poll(text); });
    expectFrames(state, binary);
    expectFrames(state, text);
}

} // namespace

void registerExchange(const Effort& effort) {
    const auto add = std::bind_front(addPaired, std::cref(effort));
    add("command/tcp", [](benchmark::State& s) { runCommand(s, Line::Tcp, true); });
    add("command/pty", [](benchmark::State& s) { runCommand(s, Line::Pty, true); });
    add("command/tcp/text", [](benchmark::State& s) { runCommand(s, Line::Tcp, false); });
    add("work/tcp", [](benchmark::State& s) { runWork<NetworkRig>(s, {}, true); });
    add("work/pty", [](benchmark::State& s) { runWork<SerialRig>(s, {}, true); });
    add("work/tcp/text", [](benchmark::State& s) { runWork<NetworkRig>(s, {}, false); });
    add("modes/tcp", runModes<NetworkRig>);
    add("modes/pty", runModes<SerialRig>);
    // Up to the most that a reply of 2,047 bytes holds.
    for (const int tools : {1, 5, 10, 14, 19}) {
        add("slope/tools/" + std::to_string(tools), [tools](benchmark::State& s) {
            runWork<NetworkRig>(s, {tools, 0}, true);
        });
    }
    for (const int strays : {1, 32, 64, 96, 127}) {
        add("slope/strays/" + std::to_string(strays), [strays](benchmark::State& s) {
            runWork<NetworkRig>(s, {1, strays}, true);
        });
    }
}

} // namespace bench

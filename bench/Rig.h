#pragma once

#include "bench/CannedDevice.h"
#include "bench/Peer.h"
#include "streams/PolarisAuroraTrackingStream.h"

#include <filesystem>
#include <memory>
#include <string>

namespace bench {

/// A folder that goes away with its owner, with definitions of tools in it.
class ToolFolder {
public:
    explicit ToolFolder(int tools);
    ~ToolFolder();
    ToolFolder(const ToolFolder&) = delete;
    ToolFolder& operator=(const ToolFolder&) = delete;

    template <int N>
    void registerAll(Morvalin::PolarisAuroraTrackingStream<N>& stream) const {
        for (int i = 0; i < m_tools; ++i) {
            stream.registerTool({"tool " + std::to_string(i), toolFile(i), 1, -1});
        }
    }

    std::filesystem::path path() const { return m_path; }

private:
    std::string toolFile(int i) const;

    const int m_tools;
    std::filesystem::path m_path;
};

/// Points a stream of an optical family at an address: a port of 127.0.0.1 for the network family,
/// the path of a terminal for the serial one.
template <int N>
void pointAt(Morvalin::PolarisAuroraTrackingStream<N>& stream, std::uint16_t port,
             const std::string& path);

/// A running stream of an optical family and the peer that it asks, a canned device.
template <int N>
class StreamRig {
public:
    static constexpr bool isSerial = N == Morvalin::NDIDeviceFamily::PolarisVicra;
    static constexpr Line line = isSerial ? Line::Pty : Line::Tcp;
    static constexpr ndisim::Family family =
        isSerial ? ndisim::Family::Vicra : ndisim::Family::Vega;

    explicit StreamRig(const Scene& scene); ///< throws std::runtime_error if it does not start

    CannedDevice device;
    Peer peer;
    ToolFolder tools;
    std::size_t frames = 0; ///< that reached the consumer
    Morvalin::PolarisAuroraTrackingStream<N> stream;
};

using NetworkRig = StreamRig<Morvalin::NDIDeviceFamily::PolarisVega>;
using SerialRig = StreamRig<Morvalin::NDIDeviceFamily::PolarisVicra>;

extern template class StreamRig<Morvalin::NDIDeviceFamily::PolarisVega>;
extern template class StreamRig<Morvalin::NDIDeviceFamily::PolarisVicra>;

} // namespace bench

#include "bench/Rig.h"

#include "protocol/transport.h"

#include <fstream>
#include <stdexcept>

#include <unistd.h>

namespace bench {

using Morvalin::PolarisAuroraTrackingStream;

ToolFolder::ToolFolder(int tools) : m_tools(tools) {
    std::string pattern = (std::filesystem::temp_directory_path() / "benchXXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    m_path = pattern;
    for (int i = 0; i < m_tools; ++i) {
        std::string image(1024, '\0');
        const std::string partNumber = std::to_string(610001 + i);
        image.replace(592, partNumber.size(), partNumber);
        std::ofstream(toolFile(i), std::ios::binary) << image;
    }
}

ToolFolder::~ToolFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string ToolFolder::toolFile(int i) const {
    return m_path / (std::to_string(i) + ".rom");
}

template <int N>
void pointAt(PolarisAuroraTrackingStream<N>& stream, std::uint16_t port, const std::string& path) {
    if (StreamRig<N>::isSerial) {
        serialAssignPort(2, path.c_str());
        stream.setHardwareDevice("COM3");
    } else {
        stream.setHardwareDevice("127.0.0.1");
        stream.setHardwareIPPort(port);
    }
}

template void pointAt(PolarisAuroraTrackingStream<0>&, std::uint16_t, const std::string&);
template void pointAt(PolarisAuroraTrackingStream<1>&, std::uint16_t, const std::string&);

template <int N>
StreamRig<N>::StreamRig(const Scene& scene) :
    device(family, scene),
    peer(line, [this](std::string_view request) { return device.answer(request); }),
    tools(scene.tools) {
    tools.registerAll(stream);
    pointAt(stream, peer.port(), peer.path());
    stream.output.connect([this](const std::shared_ptr<const Morvalin::Data>&) { ++frames; });
    // The hook starts the device without a worker: the benchmark itself calls doWork().
    if (!stream.open() || !stream.startImpl()) {
        throw std::runtime_error("the stream does not start");
    }
}

template class StreamRig<Morvalin::NDIDeviceFamily::PolarisVega>;
template class StreamRig<Morvalin::NDIDeviceFamily::PolarisVicra>;

} // namespace bench

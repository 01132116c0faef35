#pragma once

#include "simulator/Device.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// How much a reply holds: tools of four markers each, stray markers.
struct Scene {
    int tools = 4;
    int strays = 10;
};

/// A device that answers tracking commands with replies made beforehand, a few frames over and
/// over, and all others as the simulated device does.
class CannedDevice {
public:
    CannedDevice(ndisim::Family family, const Scene& scene);

    std::string_view answer(std::string_view request);

    /// Every canned reply to a command has the same length.
    const std::string& reply(bool isBinary) const { return cans(isBinary).front(); }

    /// The whole command that the streams of optical devices send.
    static std::string command(bool isBinary);

private:
    using Cans = std::vector<std::string>;

    const Cans& cans(bool isBinary) const { return isBinary ? m_binary : m_text; }

    ndisim::Device m_device;
    Cans m_binary;
    Cans m_text;
    std::size_t m_next = 0;
    std::string m_other;
};

} // namespace bench

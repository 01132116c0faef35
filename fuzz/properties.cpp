// Arbitrary settings for the streams of all families.
//
// Input: the family, then steps that build the settings: a known or an arbitrary key with a value
// of one of three kinds, a block to go into, or out of.

#include "fuzz/Input.h"
#include "fuzz/StreamFamilies.h"

#include <morvalincore/Log.h>
#include <morvalincore/Properties.h>
#include <morvalincore/PropertiesXml.h>

#include <vector>

namespace {

using namespace Morvalin;
using fuzz::expect;
using fuzz::Input;

constexpr const char* keys[] = {
    "hardwareDevice",     "hardwarePort",   "measurementRate", "maxRange", "binaryQueryMode",
    "selectedInstrument", "startAfterInit", "blockingInit",    "Path",     "Port",
    "TrackingTargets",
};
constexpr unsigned lastStep = 4;

std::string readName(Input& input) {
    const unsigned index = input.byte();
    return index < std::size(keys) ? keys[index] : std::string(input.take(index - std::size(keys)));
}

std::int32_t readInteger(Input& input) {
    return static_cast<std::int32_t>(input.word() | input.word() << 16);
}

Properties readProperties(Input& input) {
    Properties root("block");
    std::vector<Properties*> path{&root};
    while (!input.isEmpty()) {
        Properties& block = *path.back();
        const unsigned step = input.byte() % (lastStep + 1);
        if (step == lastStep) {
            if (path.size() > 1)
                path.pop_back();
            continue;
        }
        const std::string name = readName(input);
        if (step == 0)
            block.setParam(name, std::string(input.take(input.byte())));
        else if (step == 1)
            block.setParam(name, readInteger(input));
        else if (step == 2)
            block.setParam(name, input.byte() % 2 != 0);
        else if (path.size() < 32)
            path.push_back(&block.addSubProperties(name));
    }
    return root;
}

Properties write(NDITrackingStream& stream) {
    Properties written("block");
    stream.configuration(&written);
    return written;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Log::setLevel(Log::Error + 1);
    Input input(bytes, size);
    const unsigned family = input.byte();
    const Properties settings = readProperties(input);
    const auto stream = fuzz::makeStream(family);
    stream->configure(&settings);
    const Properties written = write(*stream);
    expect(stream->maxRange() >= 0 && stream->measurementRate() >= 0, "indices are indices");

    const auto other = fuzz::makeStream(family);
    other->configure(&written);
    expect(write(*other) == written, "settings survive being saved and read");
    Properties fromFile;
    std::string error;
    expect(fromXml(toXml(written), fromFile, error) && fromFile == written,
           "settings survive a file");
    return 0;
}

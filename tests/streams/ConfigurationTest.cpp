#include "tests/streams/Rig.h"

#include <morvalincore/Properties.h>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Keys, values, types and attributes in their order, blocks indented.
std::string render(const Properties& block, const std::string& indent = "") {
    std::string text;
    const auto add = [&](const Properties::Attributes& attributes) {
        for (const auto& [name, value] : attributes)
            text += " {" + name + "=" + value + "}";
        text += "\n";
    };
    for (const Properties::Parameter& parameter : block.params()) {
        text += indent + parameter.key + "=" + parameter.value;
        if (parameter.type != 0)
            text += " type " + std::to_string(parameter.type);
        add(parameter.attributes);
    }
    for (const Properties& child : block.children()) {
        text += indent + "<" + child.name() + ">";
        add(child.attributes());
        text += render(child, indent + "  ");
    }
    return text;
}

const char* const freshSerial =
    "hardwareDevice=auto {label=COM port} {tooltip=Auto-detect COM port upon open}\n"
    "measurementRate=5 type 8 "
    "{values=9600, 14400, 19200, 38400, 57600, 115200, 921600, 1228739}\n"
    "binaryQueryMode=true\n"
    "selectedInstrument= {hidden=true}\n"
    "<TrackingTargets> {hidden=true}\n";
const char* const freshNetwork = "hardwareDevice=192.168.1.10 {label=IP address}\n"
                                 "hardwarePort=8765\n"
                                 "binaryQueryMode=true\n"
                                 "selectedInstrument= {hidden=true}\n"
                                 "<TrackingTargets> {hidden=true}\n";

template <class Stream>
class Configuration : public testing::Test {
protected:
    std::string write() {
        Properties properties;
        stream.configuration(&properties);
        stream.configuration(&properties); // as a panel does: into the same block again
        return render(properties);
    }
    static constexpr bool isNetwork = std::is_same_v<Stream, PolarisAuroraTrackingStream<Vega>>;

    LogCapture log;
    Stream stream;
};
using Families =
    testing::Types<PolarisAuroraTrackingStream<Vicra>, PolarisAuroraTrackingStream<Vega>,
                   PolarisAuroraTrackingStream<Aurora>>;
TYPED_TEST_SUITE(Configuration, Families);

TYPED_TEST(Configuration, WritesDefaultsAndSurvivesNull) {
    EXPECT_EQ(this->write(), this->isNetwork ? freshNetwork : freshSerial);
    EXPECT_EQ(this->stream.connectionType(), this->isNetwork ? TypeParam::ConnectionType::TcpIp
                                                             : TypeParam::ConnectionType::Serial);
    EXPECT_EQ(this->stream.uuid(), "PolarisAuroraTrackingStream");
    EXPECT_FALSE(this->stream.isInitialized());
    this->stream.configure(nullptr);
    this->stream.configuration(nullptr);
    const Properties nothing;
    this->stream.configure(&nothing);
    EXPECT_EQ(this->write(), this->isNetwork ? freshNetwork : freshSerial);
}

TYPED_TEST(Configuration, ReadsOldAndPartialSettings) {
    this->stream.registerTool({"old", "old.rom", 1, -1});
    this->log.take();
    Properties properties;
    properties.setParam("maxRange", 4);
    properties.setParam("measurementRate", 8); // not one of the options
    properties.setParam("systemType", 1);
    Properties& targets = properties.addSubProperties("TrackingTargets");
    targets.addSubProperties("no path").setParam("Port", 2);
    targets.addSubProperties("no port").setParam("Path", "p.rom");
    targets.addSubProperties("").setParam("Path", "");
    this->stream.configure(&properties);
    EXPECT_THAT(this->log.take(), IsEmpty());
    EXPECT_EQ(this->stream.maxRange(), 4);
    EXPECT_EQ(this->stream.measurementRate(), 5);
    EXPECT_EQ(this->write(), (this->isNetwork ? freshNetwork : freshSerial) +
                                 std::string("  <no port>\n    Path=p.rom\n    Port=-1\n"
                                             "  <>\n    Path=\n    Port=-1\n"));
    properties.setParam("hardwareDevice", "COM9");
    properties.setParam("hardwarePort", 4711);
    properties.setParam("binaryQueryMode", false);
    this->stream.configure(&properties);
    EXPECT_EQ(this->stream.hardwareDevice(), "COM9");
    EXPECT_EQ(this->stream.hardwareIPPort(), 4711);
    EXPECT_THAT(this->write(), testing::HasSubstr("binaryQueryMode=false"));
}

TYPED_TEST(Configuration, IgnoresIndicesThatAreNone) {
    for (const std::int32_t index : {2147483647, -1}) {
        this->stream.setMaxRange(index);
        this->stream.setMeasurementRate(index);
        EXPECT_EQ(this->stream.maxRange(), 2147483647);
        EXPECT_EQ(this->stream.measurementRate(), 5);
    }
    this->stream.setMaxRange(0);
    EXPECT_EQ(this->stream.maxRange(), 0);
    this->stream.setMeasurementRate(0);
    EXPECT_EQ(this->stream.measurementRate(), this->isNetwork ? 5 : 0);
    EXPECT_THAT(this->log.take(), IsEmpty());
}

TEST(OpenConfiguration, RefusesChoicesAndSavesVolumesAndMainInstrument) {
    ndisim::DeviceOptions device;
    device.volumes = ndisim::familyVolumes(ndisim::Family::Vega);
    Rig<Vicra> rig(device);
    rig.addTool("a.rom", "111");
    rig.addTool("b.rom", "222");
    Properties settings;
    settings.setParam("maxRange", 1);
    settings.setParam("measurementRate", 4);
    settings.setParam("selectedInstrument", "222");
    rig.stream.configure(&settings);
    ASSERT_TRUE(rig.stream.open());
    EXPECT_THAT(rig.takeCommands(), testing::IsSupersetOf({"COMM:40001", "VSEL:2"}));
    Properties saved;
    rig.stream.configuration(&saved);
    const Lines volumes = rig.stream.maxRangeOptions();
    ASSERT_GE(volumes.size(), 2U);
    const std::string range = "maxRange=1 type 8 {values=" + volumes[0] + ", " + volumes[1];
    EXPECT_THAT(render(saved), testing::AllOf(testing::StartsWith(range),
                                              testing::HasSubstr("selectedInstrument=222 ")));
    rig.log.take();
    rig.stream.configure(&settings); // nothing differs
    EXPECT_THAT(rig.log.take(), IsEmpty());
    rig.stream.setMaxRange(-1);
    rig.stream.setMaxRange(7);
    rig.stream.setMeasurementRate(8);
    rig.stream.setMeasurementRate(4);
    EXPECT_THAT(rig.log.take(),
                ElementsAre("[4] Max Range cannot be set when connection is established. Close "
                            "connection first.",
                            "[4] Measurement rate cannot be set when connection is established. "
                            "Close connection first."));
    EXPECT_EQ(rig.stream.maxRange(), 1);
}

TEST(Tracing, IsSwitchedWhileTheDeviceIsConnected) {
    for (const bool isTracedAtFirst : {true, false}) {
        Rig<Aurora> rig; // without a tool the stream does not open, but keeps its device
        std::string traced;
        const Diagnosable::TraceSink sink = [&](Diagnosable::Traffic, std::string_view text) {
            traced += std::string(text) + " ";
        };
        rig.stream.setTraceSink(isTracedAtFirst ? sink : nullptr);
        EXPECT_FALSE(rig.stream.open());
        EXPECT_EQ(traced.find("INIT:") != traced.npos, isTracedAtFirst);
        traced.clear();
        rig.stream.setTraceSink(isTracedAtFirst ? nullptr : sink);
        rig.owned.reset();
        EXPECT_THAT(rig.takeCommands(), testing::Contains("COMM:00000"));
        if (isTracedAtFirst)
            EXPECT_EQ(traced, "");
        else
            EXPECT_THAT(traced, testing::AllOf(testing::StartsWith("COMM:00000"),
                                               testing::EndsWith("closed ")));
    }
}

} // namespace
} // namespace Morvalin

#include "tests/streams/Rig.h"

#include <morvalincore/Properties.h>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::StartsWith;

const char* const networkOnly =
    "[4] Serial is only supported for PolarisSerial and Aurora. Polaris Vega Aurora use TCP/IP "
    "communication. Please specify the device TCP address and port in the GUI";
const char* const serialOnly =
    "[4] TCP/IP connection is only supported for PolarisVega. Polaris Serial and Polaris Aurora "
    "use serial connection. Please specify the serial port in the GUI";
const char* const invalid = "[4] Invalid Ip address or COM port!";
const char* const failed = "[4] Connection could not be established!";
const char* const noProbe = "[4] Failed to probe device!";
const char* const searching = "[1] Searching for tracking devices...";
const char* const notFound = "[4] No NDI tracking system found!";
const char* const noneThere = "[2] None of the serial ports COM1 to \\\\.\\COM20 is there";

std::string notThere(const std::string& name) {
    return "[2] " + name +
           " (/nonexistent/port): not there: plug the adapter in, or let the name stand for "
           "another port";
}

struct BadAddress {
    const char* address;
    Lines network;
    bool isOfNetwork; ///< else the settings forget it
    Lines serial;
    bool isOfSerial;
};

template <int N>
void expectRefusal(const BadAddress& row, const Lines& log, bool isKept) {
    SCOPED_TRACE(row.address);
    LogCapture capture;
    PolarisAuroraTrackingStream<N> stream;
    stream.setHardwareDevice(row.address);
    stream.setHardwareIPPort(70000); // outside TCP's range: nothing is sent anywhere
    EXPECT_FALSE(stream.open());
    EXPECT_THAT(capture.take(), ElementsAreArray(log));
    EXPECT_EQ(stream.hardwareDevice(), row.address);
    EXPECT_FALSE(stream.isInitialized());
    Properties settings;
    stream.configuration(&settings);
    std::string written;
    EXPECT_TRUE(settings.param("hardwareDevice", written));
    EXPECT_EQ(written, isKept ? row.address : "");
    EXPECT_EQ(stream.hardwareDevice(), written);
    // Without a device the hooks do nothing.
    EXPECT_TRUE(stream.startImpl() && stream.doWork() && stream.stopImpl() && stream.closeImpl());
}

TEST(BringUp, RefusesAddresses) {
    assignSerialPort();
    const Lines unknown = {invalid, failed};
    const auto connecting = [](const std::string& address) {
        return Lines{"[2] Connecting to " + address + ":70000 via IP...", failed};
    };
    const BadAddress table[] = {
        {"", {networkOnly}, false, {searching, notFound, noneThere}, false},
        {"autopilot", {networkOnly}, false, {searching, notFound, noneThere}, true},
        {"Auto", unknown, false, unknown, false},
        {"COM0", unknown, false, unknown, false},
        {"COM3", {networkOnly}, false, {noProbe, notThere("COM3")}, true},
        {"COM10", unknown, false, unknown, false},
        {"\\\\.\\COM10", {networkOnly}, false, {noProbe, notThere("\\\\.\\COM10")}, true},
        {"\\\\.\\COM20", {networkOnly}, false, {noProbe, notThere("\\\\.\\COM20")}, true},
        {"\\\\.\\COM21", unknown, false, unknown, false},
        {"/dev/null", unknown, false, unknown, false},
        {"localhost", unknown, false, unknown, false},
        {"127.0.0.1", connecting("127.0.0.1"), true, {serialOnly}, false},
        {"999.999.999.999", connecting("999.999.999.999"), true, {serialOnly}, false},
        {"x999.1.1.1:1", connecting("x999.1.1.1:1"), false, {serialOnly}, false},
        {"auto 1.2.3.4", connecting("auto 1.2.3.4"), false, {serialOnly}, true},
    };
    for (const BadAddress& row : table) {
        expectRefusal<Vega>(row, row.network, row.isOfNetwork);
        expectRefusal<Vicra>(row, row.serial, row.isOfSerial);
        expectRefusal<Aurora>(row, row.serial, row.isOfSerial);
    }
}

const Lines probe = {"INIT:", "GETINFO:Features.Firmware.Version"};
const Lines dummyTool = {"PHSR:01", "PHRQ:*********1****", "16 x PVWR:0A", "PINIT:0A", "PENA:0AD"};

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

TEST(BringUp, OpensANetworkDeviceWithoutTools) {
    Rig<Vega> rig;
    ASSERT_TRUE(rig.stream.open());
    EXPECT_TRUE(rig.stream.isInitialized());
    EXPECT_THAT(rig.takeCommands(),
                ElementsAreArray(joined({{"INIT:", "SFLIST:03", "VSEL:1"}, dummyTool})));
    EXPECT_THAT(rig.log.take(),
                ElementsAre("[2] Connecting to 127.0.0.1:" + std::to_string(rig.simulator.port()) +
                                " via IP...",
                            "[2] Connection established at 127.0.0.1. Using binary mode.",
                            "[1] Initializing device...", "[1] Device initialized.",
                            "[1] Full initialization complete!",
                            "[3] No tracking instruments initialized!"));
    EXPECT_THAT(rig.instruments(), IsEmpty());

    rig.stream.stateChanged.connect([&stream = rig.stream](const Stream::StateChange& change) {
        EXPECT_EQ(stream.isInitialized(), change.to == Stream::Open);
    });
    EXPECT_TRUE(rig.stream.close());
    EXPECT_FALSE(rig.stream.isInitialized());
    rig.stream.setHardwareIPPort(rig.simulator.port() + 65536);
    EXPECT_FALSE(rig.stream.open());
    EXPECT_EQ(rig.log.take().back(), failed);
    rig.stream.setHardwareIPPort(rig.simulator.port());
    ASSERT_TRUE(rig.stream.open());
    // The handle of the first time is freed.
    EXPECT_THAT(rig.takeCommands(),
                ElementsAre("INIT:", "SFLIST:03", "VSEL:1", "PHSR:01", "PHF:0A",
                            "PHRQ:*********1****", "16 x PVWR:0A", "PINIT:0A", "PENA:0AD"));
}

TEST(BringUp, OpensAndClosesASerialDevice) {
    Rig<Vicra> rig;
    rig.stream.setBinaryQueryMode(false);
    rig.stream.setMaxRange(41);
    ASSERT_TRUE(rig.stream.open());
    EXPECT_EQ(rig.simulator.link(), ndisim::parseLinkSettings("50001"));
    EXPECT_THAT(rig.log.take(),
                ElementsAre("[2] Connecting to COM3 as serial device...",
                            "[2] Connection established at COM3. Using text mode.",
                            "[1] Setting measurement rate to 5...", "[1] Initializing device...",
                            "[1] Device initialized.",
                            StartsWith("[4] NDI Tracking System Error: "), // no such volume
                            "[1] Full initialization complete!",
                            "[3] No tracking instruments initialized!"));
    rig.stream.close();
    EXPECT_THAT(
        rig.takeCommands(),
        ElementsAreArray(joined(
            {probe, {"COMM:50001", "INIT:", "SFLIST:03", "VSEL:42"}, dummyTool, {"COMM:00000"}})));
    EXPECT_EQ(rig.simulator.link(), ndisim::LinkSettings());
}

TEST(BringUp, SearchesOnceAndGoesOnWhenTheDeviceRefusesToInitialize) {
    Rig<Vicra> rig({}, {"error=0D@INIT#2-"}); // only the search's own INIT is answered well
    rig.stream.setHardwareDevice("please auto-detect");
    ASSERT_TRUE(rig.stream.open());
    EXPECT_EQ(rig.stream.hardwareDevice(), "COM3");
    const Lines log = rig.log.take();
    EXPECT_EQ(log.front(), searching);
    EXPECT_THAT(
        log, testing::IsSupersetOf(
                 {"[4] NDI Tracking System Error: 13 No tool assigned to the selected port handle",
                  "[1] Device initialized."}));
    rig.stream.close();
    rig.simulator.clearFaults();
    ASSERT_TRUE(rig.stream.open());
    EXPECT_EQ(rig.log.take().front(), "[2] Connecting to COM3 as serial device...");
}

TEST(BringUp, LetsGoOfTheDeviceOfAFailedOpen) {
    Rig<Aurora> rig;
    EXPECT_FALSE(rig.stream.open());
    const Lines opening = {"COMM:50001", "INIT:", "SFLIST:03", "VSEL:1", "PHSR:00"};
    EXPECT_THAT(rig.takeCommands(), ElementsAreArray(joined({probe, opening})));
    EXPECT_EQ(rig.log.take().back(), "[4] No tracking instruments available!");
    EXPECT_FALSE(rig.stream.isInitialized());

    rig.simulator.withDevice(
        [](ndisim::Device& device) { device.plugTool(ndisim::parseWiredTool("2")); });
    EXPECT_TRUE(rig.stream.open());
    EXPECT_THAT(
        rig.takeCommands(),
        ElementsAreArray(joined({{"COMM:00000"},
                                 probe,
                                 opening,
                                 {"PHINF:0B0020", "PINIT:0B", "PENA:0BD", "PHINF:0B0025"}})));
    rig.stream.close();

    rig.simulator.withDevice([](ndisim::Device& device) { device.unplugTool(2); });
    EXPECT_FALSE(rig.stream.open());
    rig.stream.setHardwareDevice("nowhere"); // the device that is still there must not be taken
    rig.log.take();
    EXPECT_FALSE(rig.stream.open());
    EXPECT_THAT(rig.log.take(), ElementsAre(invalid, failed));
    rig.stream.setHardwareDevice("COM3");
    EXPECT_FALSE(rig.stream.open());
    rig.takeCommands();
    rig.owned.reset();
    EXPECT_THAT(rig.takeCommands(), ElementsAre("COMM:00000"));
}

std::string volumeRecord(const char* start) {
    std::string record = start;
    record.resize(74, '0');
    return record;
}

TEST(BringUp, ReadsOperatingVolumes) {
    const std::string cube = volumeRecord("9+123456-000050+000000-000000+100000+000001");
    const std::string dome = volumeRecord("1-999999+12A456*000100+ 00100+1000000000123");
    const char* const cubeText = "Cube 1234.56/-0.5/0/0/1000/0.01";
    const char* const domeText = "Dome -9999.99/0/-1/0/1000/-1.23";
    const std::string noRecord = "[4] PolarisAuroraTrackingStream: query of operating volume ";
    const std::string noList = "[4] PolarisAuroraTrackingStream: query of operating volumes failed";
    const struct {
        std::string fault;
        Lines log;
        bool selects;
        Lines options;
    } table[] = {
        {"reply=2" + cube + dome, {}, true, {cubeText, domeText}},
        {"reply=1" + cube.substr(0, 73), {}, true, {cubeText}},
        {"reply=1" + cube.substr(0, 72), {noRecord + "0 failed"}, false, {}},
        {"reply=2" + cube, {noRecord + "1 failed"}, false, {}},
        {"reply=:" + cube, {noRecord + "1 failed"}, false, {}},
        {"reply=0" + cube, {}, false, {}},
        {"reply=;" + cube, {noList}, false, {cubeText}},
        {"reply=/" + cube, {noList}, false, {cubeText}},
        {"error=01",
         {"[4] NDI Tracking System Error: 1 Invalid command", noList},
         false,
         {cubeText}},
    };
    Rig<Vega> rig;
    rig.stream.setMaxRange(1);
    for (const auto& row : table) {
        SCOPED_TRACE(row.fault);
        rig.simulator.clearFaults();
        rig.simulator.addFault("reply=1" + cube + "@SFLIST#1");
        rig.simulator.addFault(row.fault + "@SFLIST");
        EXPECT_TRUE(rig.stream.open() && rig.stream.close());
        rig.takeCommands();
        rig.log.take();
        ASSERT_TRUE(rig.stream.open());
        Lines expected = row.log;
        expected.push_back("[3] No tracking instruments initialized!");
        EXPECT_THAT(rig.log.take(Log::Warning), ElementsAreArray(expected));
        EXPECT_EQ(testing::Value(rig.takeCommands(), testing::Contains("VSEL:2")), row.selects);
        EXPECT_THAT(rig.stream.maxRangeOptions(), ElementsAreArray(row.options));
        rig.stream.close();
    }
}

} // namespace
} // namespace Morvalin

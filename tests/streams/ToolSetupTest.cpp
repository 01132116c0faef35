#include "tests/faults/FrameCheck.h"
#include "tests/streams/Rig.h"

#include <sys/stat.h>

#include <morvalincore/Properties.h>

namespace Morvalin {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::StartsWith;

const char* const reservedNumber = "[3] The part number 999999999 is reserved for internal "
                                   "purposes. Consider using another part number.";
const char* const noInstruments = "[3] No tracking instruments initialized!";

std::vector<std::uint8_t> contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(file), {});
    bytes.resize(1024);
    return bytes;
}

template <int N>
void wantMain(Rig<N>& rig, const std::string& id) {
    Properties properties;
    properties.setParam("selectedInstrument", id);
    rig.stream.configure(&properties);
}

TEST(OpticalTools, AreLoadedInTheOrderOfRegistration) {
    Rig<Vega> rig;
    rig.addTool("second.rom", "0222");
    rig.addTool("first.rom", "111");
    EXPECT_EQ(rig.log.take().back(), "[2] Instrument first.rom registered to instrument list. "
                                     "Instrument will be loaded when opening stream.");
    rig.addTool("double.rom", "111"); // loaded all the same
    wantMain(rig, "");                // which asks for none
    ASSERT_TRUE(rig.stream.open());
    EXPECT_EQ(rig.takeCommands().back(), "PENA:0CD");
    EXPECT_THAT(rig.log.take(Log::Warning),
                ElementsAre("[4] ThreadSafeInstruments: create: Instrument with ID 111 already "
                            "exists"));
    const auto tools = rig.instruments();
    ASSERT_EQ(tools.size(), 2U);
    EXPECT_EQ(tools[0].trackerId, TrackerID("111", "first.rom", ""));
    EXPECT_EQ(tools[1].trackerId, TrackerID("222", "second.rom", ""));
    EXPECT_EQ(tools[0].toolType, "Unknown");
    EXPECT_TRUE(tools[0].active && tools[1].active);
    EXPECT_EQ(rig.stream.instruments()->mainId(), "222"); // the first one entered
}

TEST(OpticalTools, AreNamedByTheirPartNumber) {
    struct Row {
        const char* what;
        std::string partNumber;
        std::size_t size;
        Lines ids; ///< empty: the open fails
        Lines log;
    };
    const std::string outOfRange =
        "[4] Error during initalization of the NDI tracking system: stoi argument out of range";
    const char* const refused =
        "[4] NDI Tracking System Error: 19 Unable to initialize Tool-in-Port";
    const char* const unready =
        "[4] NDI Tracking System Error: 14 Selected port handle not initialized";
    const Row table[] = {
        {"number", "2147483647", 1024, {"2147483647"}, {}},
        {"empty", "", 1024, {"999999999"}, {reservedNumber}},
        {"not a number", "12A", 1024, {"999999999"}, {reservedNumber}},
        {"signed", "-12", 1024, {"999999999"}, {reservedNumber}},
        {"reserved", "999999999", 1024, {"999999999"}, {reservedNumber}},
        {"file that ends in the number", "12345", 595, {"123"}, {}},
        {"empty file", "12345", 0, {"999999999"}, {reservedNumber, refused, unready}},
        {"no file", "12345", std::string::npos, {"999999999"}, {reservedNumber, refused, unready}},
        {"unterminated", std::string(431, '0') + "78", 1024, {"7"}, {}},
        {"too large", "2147483648", 1024, {}, {outOfRange}},
    };
    for (const Row& row : table) {
        SCOPED_TRACE(row.what);
        Rig<Vega> rig;
        const std::string path = rig.folder.writeTool("tool.rom", row.partNumber, row.size);
        if (row.size == std::string::npos)
            std::filesystem::remove(path);
        rig.stream.registerTool({"tool", path, 1, -1});
        EXPECT_EQ(rig.stream.open(), !row.ids.empty());
        EXPECT_THAT(rig.log.take(Log::Warning), ElementsAreArray(row.log));
        Lines ids;
        for (const TrackingInstrument& tool : rig.instruments())
            ids.push_back(tool.trackerId.ID);
        EXPECT_THAT(ids, ElementsAreArray(row.ids));
        rig.simulator.withDevice(
            [&](ndisim::Device& device) { EXPECT_EQ(device.loadedImage(0x0A), contentOf(path)); });
    }
}

TEST(OpticalTools, AreNotWaitedForWhenTheFileIsAPipe) {
    Rig<Vega> rig;
    const std::string path = rig.folder.path / "pipe.rom";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    rig.stream.registerTool({"pipe", path, 1, -1});
    EXPECT_TRUE(rig.stream.open());
    EXPECT_THAT(rig.log.take(Log::Warning), testing::Contains(reservedNumber));
}

TEST(OpticalTools, AreSkippedWhenTheUploadFails) {
    Rig<Vega> rig({}, {"error=0D@PVWR:0A0080"});
    const std::string path = rig.addTool("bad.rom", "111");
    rig.addTool("good.rom", "222");
    wantMain(rig, "111"); // which will not be there
    ASSERT_TRUE(rig.stream.open());
    EXPECT_THAT(rig.takeCommands(),
                ElementsAre("INIT:", "SFLIST:03", "VSEL:1", "PHSR:01", "PHRQ:*********1****",
                            "3 x PVWR:0A", "PHRQ:*********1****", "16 x PVWR:0B", "PINIT:0B",
                            "PENA:0BD"));
    EXPECT_THAT(
        rig.log.take(Log::Warning),
        ElementsAre(StartsWith("[4] NDI Tracking System Error: 13 "),
                    "[4] ROM file for bad.rom could not be uploaded from " + path,
                    "[4] ThreadSafeInstruments: setMainById: Instrument with ID 111 not found"));
    EXPECT_EQ(rig.stream.instruments()->mainId(), "222");
}

/// The next frame shows each tool where the device saw the handle that holds its definition.
void expectOwnPoses(Rig<Vega>& rig) {
    ASSERT_TRUE(rig.stream.startImpl());
    rig.nextFrame();
    rig.stream.doWork();
    const ndisim::Exchange sent = rig.simulator.exchanges().back();
    rig.simulator.withDevice([&](const ndisim::Device& device) {
        for (const TrackingInstrument& tool : rig.instruments()) {
            EXPECT_GT(tool.quality, 0) << tool.trackerId.ID;
            EXPECT_EQ(wrongInTool(tool, *sent.measurement, device, true), "") << tool.trackerId.ID;
        }
    });
}

TEST(OpticalTools, AreSkippedWithoutAHandleOfTheirOwn) {
    Rig<Vega> rig;
    Lines paths;
    for (const char* number : {"1", "2", "3"})
        paths.push_back(rig.addTool(number, number));
    for (const char* fault : {"error=0D", "late=300", "crc", "reply=", "reply=A", "reply=0A",
                              "reply=OKAY", "reply=ERROR00"}) {
        SCOPED_TRACE(fault);
        rig.simulator.clearFaults();
        rig.simulator.addFault(fault + std::string("@PHRQ#2"));
        rig.stream.close();
        rig.log.take();
        ASSERT_TRUE(rig.stream.open());
        EXPECT_EQ(rig.log.take(Log::Warning).back(),
                  "[4] ROM file for 2 could not be uploaded from " + paths[1]);
        ASSERT_EQ(rig.instruments().size(), 2U);
        EXPECT_EQ(rig.instruments()[0].trackerId.ID, "1");
        EXPECT_EQ(rig.instruments()[1].trackerId.ID, "3");
        expectOwnPoses(rig);
    }
    // Nothing more is sent while an answer is outstanding: all that follow are told, too.
    rig.simulator.clearFaults();
    rig.simulator.addFault("no-answer@PHRQ#2");
    rig.stream.close();
    ASSERT_TRUE(rig.stream.open());
    const Lines log = rig.log.take(Log::Warning);
    for (const std::size_t lost : {1U, 2U})
        EXPECT_THAT(log, testing::Contains(testing::EndsWith("uploaded from " + paths[lost])));
    EXPECT_EQ(rig.instruments().size(), 1U);
}

TEST(OpticalTools, DummyToolLetsMarkersBeSeen) {
    const struct {
        Lines faults;
        std::vector<std::uint8_t> image;
        Lines log;
    } table[] = {
        {{}, contentOf(DUMMY_TOOL), {noInstruments}},
        {{"error=01@PVWR#16"},
         {},
         {"[4] NDI Tracking System Error: 1 Invalid command",
          "[4] Querying raw fiducials not possible", noInstruments}},
        {{"reply=@PHRQ"}, {}, {"[4] Querying raw fiducials not possible", noInstruments}},
    };
    for (const auto& row : table) {
        Rig<Vega> rig({}, row.faults);
        wantMain(rig, "111"); // forgotten without a word
        ASSERT_TRUE(rig.stream.open());
        EXPECT_THAT(rig.log.take(Log::Warning), ElementsAreArray(row.log));
        EXPECT_THAT(rig.instruments(), IsEmpty());
        rig.simulator.withDevice(
            [&](ndisim::Device& device) { EXPECT_EQ(device.loadedImage(0x0A), row.image); });
    }
}

TEST(OpticalTools, SignalsTellWhatChanged) {
    Rig<Vega> rig;
    rig.addTool("a.rom", "1");
    Lines emitted;
    const auto note = [&](std::string what) {
        return [&emitted, &rig, what] { // called while the stream is being opened
            emitted.push_back(what + std::to_string(rig.instruments().size()));
        };
    };
    rig.stream.instrumentDataChanged.connect(note("data "));
    rig.stream.mainInstrumentChanged.connect(note("main "));
    rig.stream.instrumentsChanged.connect(note("instruments "));
    ASSERT_TRUE(rig.stream.open());
    EXPECT_THAT(emitted, testing::UnorderedElementsAre("main 1", "instruments 1"));
    emitted.clear();
    rig.stream.close();
    EXPECT_THAT(emitted, testing::UnorderedElementsAre("main 0", "instruments 0"));
}

ndisim::WiredTool plugged(int port, const std::string& type, const std::string& partNumber) {
    ndisim::WiredTool tool;
    tool.port = port;
    tool.type = type;
    tool.partNumber = partNumber;
    tool.serialNumber = "3A00000" + std::to_string(port % 10);
    return tool;
}

TEST(AuroraTools, AreDescribedByTheirInformation) {
    ndisim::DeviceOptions options;
    const struct {
        const char* information;
        const char* partNumber;
        const char* type;
    } table[] = {
        {"01000000", "610", "Reference"},
        {"02100000", "61-3AAA-1", "Stylus"},
        {"02100000", "61-36C3", "Wire"},
        {"02000000", "36C3", "Wire"},
        {"02000000", "3AAA", "Probe"},
        {"03FFFFFF", "A B", "Switch"},
        {"05000000", "5", "Microscope"},
        {"07000000", "7", "Calibration Device"},
        {"08000000", "8", "Strober"},
        {"0A000000", "10", "C-Arm"},
        {"0B000000", "11", "Catheter"},
        {"04000000", "4", "Unknown"},
        {"0C000000", "12345678901234567890", "Unknown"},
    };
    int port = 0;
    for (const auto& row : table)
        options.tools.push_back(plugged(++port, row.information, row.partNumber));
    Rig<Aurora> rig(options);
    ASSERT_TRUE(rig.stream.open());
    EXPECT_THAT(rig.log.take(Log::Warning), IsEmpty());
    port = 0;
    for (const auto& row : table) {
        SCOPED_TRACE(row.information);
        const std::string id = std::to_string(++port) + "-" + row.partNumber;
        const auto tool = rig.stream.instruments()->instrument(id);
        ASSERT_TRUE(tool) << id;
        EXPECT_EQ(tool->toolType, row.type);
        const std::string name =
            row.information + std::string("MORVALIN SIM0013A00000") + std::to_string(port % 10);
        EXPECT_EQ(tool->trackerId, TrackerID(id, name, row.partNumber));
        EXPECT_TRUE(tool->active);
    }
}

TEST(AuroraTools, LogsAndSendsEveryStep) {
    ndisim::DeviceOptions options;
    options.tools = {plugged(1, "02000000", "610"), ndisim::parseWiredTool("3:empty"),
                     ndisim::parseWiredTool("12:blank"), plugged(2, "02000000", "620")};
    // The device is ready with the last one already.
    Rig<Aurora> rig(options, {"reply=040A0010C000150010B031@PHSR"});
    wantMain(rig, "12-");
    rig.stream.open();
    const Lines commands = rig.takeCommands();
    EXPECT_THAT(Lines(commands.begin() + 6, commands.end()),
                ElementsAre("PHSR:00", "PHINF:0A0020", "PINIT:0A", "PENA:0AD", "PHINF:0A0025",
                            "PHINF:150020", "PINIT:15", "PENA:15D", "PHINF:150025", "PHINF:0B0020",
                            "PHINF:0B0025"));
    const Lines log = rig.log.take();
    EXPECT_THAT(
        Lines(log.begin() + 5, log.end()),
        ElementsAre("[1] Querying connected NDI tools...", "[1] Found 4 ports.",
                    "[1] Tool in port 0!", "[1] Physical port is 1!",
                    "[1] Trying to initialized tool in port 0...", "[1] Enabling tool in port 0...",
                    "[1] Obtaining tool meta data, port 0...", "[1] Tool in port 2!",
                    "[1] Physical port is 12!", "[1] Trying to initialized tool in port 2...",
                    "[1] Enabling tool in port 2...", "[1] Obtaining tool meta data, port 2...",
                    "[1] Tool in port 3!", "[1] Physical port is 2!",
                    "[1] Trying to initialized tool in port 3...", "[1] Enabling tool in port 3...",
                    "[1] Obtaining tool meta data, port 3...",
                    "[1] Full initialization complete!"));
    const auto blank = rig.stream.instruments()->mainInstrument();
    ASSERT_TRUE(blank);
    EXPECT_EQ(blank->trackerId.name, "00000000001200");
    EXPECT_EQ(blank->toolType, "Unknown");
}

TEST(AuroraTools, AreNotNamedAfterOthers) {
    const struct {
        std::string fault;
        TrackerID id;
        const char* type;
    } table[] = {
        {"error=0D", {"2-", "", ""}, "Unknown"},
        {"crc", {"2-", "", ""}, "Unknown"},
        {"reply=ERROR00", {"2-", "", ""}, "Unknown"},
        {"reply=0100", {"2-", "", ""}, "Unknown"},
        {"reply=010000000123456789012345678901234",
         {"2-", "0100000001234567890123456789012", ""},
         "Reference"},
        {"reply=0100\x80" + std::string(90, '1'), {"2-", "", ""}, "Unknown"},
    };
    ndisim::DeviceOptions options;
    options.tools = {plugged(1, "02000000", "PROBE-AAA"), plugged(2, "01000000", "REFERENCE"),
                     plugged(3, "03000000", "SWITCH")};
    Rig<Aurora> rig(options);
    for (const auto& row : table) {
        SCOPED_TRACE(row.fault);
        rig.simulator.clearFaults();
        rig.simulator.addFault(row.fault + "@PHINF:0B0025");
        rig.stream.close();
        ASSERT_TRUE(rig.stream.open());
        const auto tools = rig.instruments();
        ASSERT_EQ(tools.size(), 3U);
        EXPECT_EQ(tools[0].trackerId.ID, "1-PROBE-AAA");
        EXPECT_EQ(tools[1].trackerId, row.id);
        EXPECT_EQ(tools[1].toolType, row.type);
        EXPECT_EQ(tools[2].trackerId.ID, "3-SWITCH");
        EXPECT_EQ(tools[2].toolType, "Switch");
    }
}

TEST(AuroraTools, RegisteredOnesKeepTheirOwnHandle) {
    ndisim::DeviceOptions options;
    options.tools = {plugged(1, "02000000", "610"), plugged(2, "02000000", "620")};
    Rig<Aurora> rig(options);
    const std::string lost = rig.addTool("lost.rom", "5", 1);
    const std::string kept = rig.folder.writeTool("kept.rom", "6");
    rig.stream.registerTool({"kept.rom", kept, 2, 0x0B});
    rig.stream.registerTool({"ignored.rom", kept, 2, 0x0A});
    rig.log.take();
    ASSERT_TRUE(rig.stream.open());
    const Lines commands = rig.takeCommands();
    EXPECT_THAT(Lines(commands.begin() + 7, commands.end()),
                ElementsAre("PHINF:0A0020", "1 x PVWR:FFFFFFFF", "PINIT:FFFFFFFF", "PENA:FFFFFFFFD",
                            "PHINF:FFFFFFFF0025", "PHINF:0B0020", "16 x PVWR:0B", "PINIT:0B",
                            "PENA:0BD", "PHINF:0B0025"));
    const Lines log = rig.log.take(Log::Information);
    EXPECT_THAT(log, testing::Contains("[3] Tool definition lost.rom has no port handle: the tool "
                                       "in port 1 will not be tracked."));
    EXPECT_THAT(log,
                testing::Contains("[4] ROM file for lost.rom could not be uploaded from " + lost));
    EXPECT_THAT(log, testing::Contains("[2] ROM file for kept.rom uploaded from " + kept));
    const auto tools = rig.instruments();
    ASSERT_EQ(tools.size(), 2U);
    EXPECT_EQ(tools[0].trackerId, TrackerID("1-", "lost.rom", ""));
    EXPECT_EQ(tools[1].trackerId, TrackerID("2-6", "kept.rom", "6"));
}

} // namespace
} // namespace Morvalin

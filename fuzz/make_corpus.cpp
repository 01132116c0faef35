// Writes the first inputs of every fuzz target: what the simulated devices of the three families
// answer while they are brought up and measure, and what the streams and the examples say.
//
//     make_corpus FOLDER        one folder a target is made in there

#include "fuzz/Input.h"
#include "fuzz/Peer.h"
#include "fuzz/StreamFamilies.h"
#include "simulator/Device.h"

#include <filesystem>
#include <fstream>
#include <vector>

#include <morvalincore/Log.h>
#include <morvalincore/PropertiesXml.h>

namespace {

using namespace Morvalin;
namespace fs = std::filesystem;

class Corpus {
public:
    explicit Corpus(fs::path folder) : m_folder(std::move(folder)) {}

    void add(const char* target, const std::string& input) {
        fs::create_directories(m_folder / target);
        const std::string name = "seed-" + std::to_string(m_count++);
        std::ofstream(m_folder / target / name, std::ios::binary) << input;
    }

private:
    fs::path m_folder;
    int m_count = 0;
};

std::string bytes(std::initializer_list<unsigned> values) {
    std::string text;
    for (const unsigned value : values)
        text += static_cast<char>(value);
    return text;
}

ndisim::Device makeDevice(ndisim::Family family) {
    ndisim::DeviceOptions options;
    options.family = family;
    options.hasSingleStray = true;
    options.state = ndisim::DeviceState::Initialised;
    if (family == ndisim::Family::Aurora) {
        for (const char* tool : {"1:probe", "2:reference", "3:blank", "4:empty"})
            options.tools.push_back(ndisim::parseWiredTool(tool));
    } else {
        options.strays = 9;
        options.hasInfrared = true;
    }
    return ndisim::Device(options, [now = std::chrono::seconds(0)]() mutable {
        return now += std::chrono::seconds(1);
    });
}

std::string answer(ndisim::Device& device, std::string command) {
    if (command.find(':') != std::string::npos) {
        command = fuzz::sealed(command, false);
        command.pop_back();
    }
    return device.execute(command).bytes;
}

/// A reply without what `sealed` puts around it.
std::string content(const std::string& reply, bool isBinary) {
    return isBinary ? reply.substr(6, reply.size() - 8) : reply.substr(0, reply.size() - 5);
}

void loadTool(ndisim::Device& device) {
    answer(device, "PHRQ:*********1****");
    for (unsigned offset = 0; offset < 1024; offset += 64)
        answer(device, "PVWR:0A" + fuzz::optionDigits(offset) + std::string(128, '3'));
}

/// The options of BX, TX, GX, PHINF, PSTAT, SSTAT and IRCHK as 16 bits, and which name of the reply
/// target's list it is.
struct Query {
    unsigned name;
    const char* text;
    unsigned option;
};
constexpr Query queries[] = {
    {3, "PHINF:0A", 0x0001},       {3, "PHINF:0A", 0x0075}, {3, "PHINF:0C", 0x007F},
    {4, "PHRQ:*********1****", 0}, {5, "PHSR:00", 0},       {6, "PSTAT:", 0x801F},
    {7, "SSTAT:", 0x0007},         {8, "IRCHK:", 0x0003},
};
constexpr Query measurements[] = {
    {0, "BX:", 0x180F}, {0, "BX:", 0x0801}, {1, "TX:", 0x180D},
    {1, "TX:", 0x0001}, {2, "GX:", 0x100F}, {2, "GX:", 0xB00F},
};

void addReply(Corpus& corpus, ndisim::Device& device, const Query& query) {
    const std::string option = query.option == 0 ? "" : fuzz::optionDigits(query.option);
    const std::string reply = answer(device, std::string(query.text) + option);
    const bool isBinary = query.name == 0;
    const std::string data = reply.substr(0, reply.size() - (isBinary ? 2 : 5));
    corpus.add("replies", bytes({query.name, query.option == 0 ? 0U : 1U, query.option & 0xFF,
                                 query.option >> 8}) +
                              fuzz::counted(data));
    // Over both transports, whole and in pieces; raw and with CRCs to be added.
    for (const unsigned transport : {0U, 1U}) {
        corpus.add("receive", bytes({transport, query.name, 0}) + reply);
        corpus.add("receive", bytes({transport | 2, query.name, 3, 1, 2, 40}) + reply);
        if (reply.size() > 8)
            corpus.add("receive", bytes({transport | 4, query.name, 0}) + content(reply, isBinary));
    }
}

void addSetUp(Corpus& corpus, ndisim::Family family, bool isBinary) {
    const bool isAurora = family == ndisim::Family::Aurora;
    ndisim::Device device = makeDevice(family);
    std::vector<const char*> commands{"SFLIST:03"};
    if (isAurora)
        for (const char* command : {"PHSR:00", "PHINF:0A0020", "PHINF:0A0025", "PHINF:0B0020",
                                    "PHINF:0B0025", "PHINF:0C0020", "PHINF:0C0025"})
            commands.push_back(command);
    else
        commands.insert(commands.end(), {"PHSR:01", "PHRQ:*********1****"});
    std::string input = bytes({(isAurora ? 1U : 0U) | (isBinary ? 2U : 0U)});
    const auto append = [&](const std::string& command) {
        const bool bx = command.starts_with("BX");
        input += bytes({2}) + fuzz::counted(content(answer(device, command), bx));
    };
    for (const char* command : commands)
        append(command);
    for (const char* command : {"PINIT:0A", "PENA:0AD", "PINIT:0B", "PENA:0BD", "TSTART:"})
        answer(device, command);
    for (int frame = 0; frame < 3; ++frame)
        append(!isBinary ? "TX:1005" : isAurora ? "BX:0801" : "BX:180F");
    corpus.add("set_up", input);
    input[0] = static_cast<char>(input[0] | 8);
    corpus.add("set_up", input);
}

void addDevices(Corpus& corpus) {
    using ndisim::Family;
    for (const Family family : {Family::Vicra, Family::Vega, Family::Aurora}) {
        ndisim::Device device = makeDevice(family);
        for (const Query& query : queries)
            addReply(corpus, device, query);
        loadTool(device);
        for (const char* command : {"PINIT:0A", "PENA:0AD", "TSTART:"})
            answer(device, command);
        for (const Query& query : measurements)
            addReply(corpus, device, query);
        addSetUp(corpus, family, true);
        addSetUp(corpus, family, false);
    }
    for (const char* text : {"ERROR01", "OKAY", "RESET", "Features.Firmware.Version=007.001"}) {
        const std::string reply = fuzz::sealed(text, false);
        corpus.add("receive", bytes({0, 22, 0}) + reply);
        corpus.add("receive", bytes({1, 22, 0}) + reply);
        corpus.add("receive", bytes({8, 0, 2, 1, 1}) + fuzz::sealed("OKAY", false) + reply);
    }
}

void addSettings(Corpus& corpus) {
    for (unsigned family = 0; family < 3; ++family) {
        const auto stream = fuzz::makeStream(family);
        Properties root("Workspace");
        Properties& block = root.addSubProperties("Algorithms").addSubProperties("");
        block.setName(fuzz::streamIds[family]);
        stream->configuration(&block);
        Properties& tool = block.subProperties("TrackingTargets")->addSubProperties("probe.rom");
        tool.setParam("Path", "/tools/probe.rom");
        tool.setParam("Port", 2);
        block.setParam("maxRange", 1);
        corpus.add("workspaces", toXml(root));
        block.setName("NDITracking.PolarisAuroraTrackingStream");
        block.setParam("systemType", static_cast<std::int32_t>(family));
        block.setParam("note", std::string("100%\0", 5));
        corpus.add("workspaces", toXml(root));
        const auto key = [&](unsigned step, unsigned name) { return bytes({step, name}); };
        corpus.add("properties", bytes({family}) + key(0, 0) + bytes({4}) + "COM3" + key(1, 1) +
                                     bytes({0x39, 0x30, 0, 0}) + key(2, 4) + bytes({1}) +
                                     key(3, 10) + bytes({3, 15}) + "tool" + key(0, 8) + bytes({3}) +
                                     "rom" + key(1, 9) + bytes({2, 0, 0, 0, 4, 4}));
        corpus.add("properties", bytes({family}) + key(1, 2) + bytes({7, 0, 0, 0}) + key(0, 3) +
                                     bytes({1}) + "2" + key(0, 5) + bytes({5}) + "1-123" +
                                     key(2, 6) + bytes({0}));
    }
}

void addCommandLines(Corpus& corpus) {
    const char* const lines[] = {
        "list\n--plugin\nplugins/a.so\n--log-level\n1",
        "stream\nNDITracking.PolarisVegaTrackingStream\n--set\nhardwareDevice=192.168.1.5\n"
        "--set=hardwarePort=8765\n--tool\nprobe.rom\n--tool\nb@x.rom@3\n--frames\n100\n--json",
        "stream\nNDITracking.AuroraTrackingStream\n--serial-port\nCOM3=/dev/ttyUSB0\n--set\n"
        "hardwareDevice=COM3\n--set\nmeasurementRate=7\n--set\nbinaryQueryMode=false\n--save\n"
        "a.xml\n--dump\nd\n--trace\nt\n--seconds\n1.5e1",
        "run\nold.xml\n--seconds\n10\n--save\nnew.xml\n--set\nmaxRange=1",
        "--help",
    };
    for (const char* line : lines)
        for (const char family : {'\0', '\1', '\2'})
            corpus.add("command_line", family + std::string(line));
}

void addToolFiles(Corpus& corpus) {
    for (const char* partNumber : {"", "610029", "4294967296", "12a"}) {
        std::string image(1024, '\0');
        image.replace(592, std::string_view(partNumber).size(), partNumber);
        corpus.add("tool_files", image);
        corpus.add("tool_files", image.substr(0, 600));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    Log::setLevel(Log::Error + 1);
    Corpus corpus(argv[1]);
    addDevices(corpus);
    addSettings(corpus);
    addCommandLines(corpus);
    addToolFiles(corpus);
    return 0;
}

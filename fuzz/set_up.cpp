// Tool set-up and measurements of the streams with a device that answers anything.
//
// Input: the family and whether every answer is given (bits below), then for each command how its
// answer is sealed and the answer. At the end the device hangs up.

#include "fuzz/Input.h"
#include "fuzz/Peer.h"
#include "streams/internal/DeviceConnection.h"
#include "streams/internal/Measurement.h"
#include "streams/internal/OpenDevice.h"
#include "streams/internal/ToolSetup.h"

#include <morvalincore/Log.h>

#include <stdexcept>

namespace {

using namespace Morvalin;
using fuzz::expect;
using fuzz::Input;
using fuzz::Peer;

enum Choice : unsigned { Aurora = 1, Binary = 2, AnswersAll = 4, Registers = 8 };

/// Commands whose answers nobody looks into. Most inputs leave them out.
bool isPlain(std::string_view command) {
    for (const std::string_view name : {"PVWR", "PINIT", "PENA", "PHF", "VSEL"})
        if (command.starts_with(name))
            return true;
    return false;
}

std::string nextAnswer(Input& input, std::string_view command, bool answersAll) {
    if (isPlain(command) && !answersAll)
        return fuzz::sealed("OKAY", false);
    if (input.isEmpty())
        return {};
    const unsigned form = input.byte() % 4;
    const std::string_view content = input.text();
    if (form == 0)
        return std::string(content);
    return fuzz::sealed(content, form != 1 && command.starts_with("BX"));
}

void measure(NDIConnectionData& connection, Measurement::Instruments& instruments,
             unsigned binaryOptions) {
    Measurement measurement(connection, instruments);
    if (!measurement.query(binaryOptions) || !measurement.isNewFrame())
        return;
    const auto markers = measurement.strayMarkers();
    expect(markers->positions.size() == markers->identifiers.size() &&
               markers->positions.size() <= 127,
           "every stray marker has a position and an id");
    measurement.updateInstruments(1);
}

void setUp(const ToolSetup& setup, bool isAurora) {
    try {
        isAurora ? setUpAuroraTools(setup) : setUpOpticalTools(setup);
    } catch (const std::out_of_range&) {
        // A tool definition whose part number is too large, which the stream reports.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Log::setLevel(Log::Error + 1);
    Input input(bytes, size);
    const unsigned choice = input.byte();
    const bool isAurora = (choice & Aurora) != 0;
    Peer peer(Peer::Kind::Tcp);
    peer.answerAll([&](std::string_view command) {
        return nextAnswer(input, command, (choice & AnswersAll) != 0);
    });
    NDIConnectionData connection(NDIConnectionData::ConnectionType::TcpIp, "");
    connection.device = std::make_unique<OpenDevice>(peer.handOver());
    connection.binaryQueryMode = (choice & Binary) != 0;
    deviceSetErrorCallback(peer.record(), logDeviceError, nullptr);
    Measurement::Instruments instruments;
    ToolRegistrations tools;
    if ((choice & Registers) != 0)
        tools.assign({{"first", "", 1, -1}, {"second", "", 2, 0x7FFFFFFF}});
    Guarded<std::optional<std::string>> mainId(std::string("1-610029"));
    queryDeviceVolumes(connection);
    expect(connection.operatingVolumes.size() <= 10, "a digit counts the volumes");
    setUp({*connection.device, instruments, tools, mainId, connection.dummyToolPortHandle},
          isAurora);
    for (int frame = 0; frame < 3; ++frame)
        measure(connection, instruments, isAurora ? 0x0801 : 0x180F);
    return 0;
}

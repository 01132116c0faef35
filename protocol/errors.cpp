#include "protocol/device.h"

namespace {

constexpr char kUnrecognized[] = "Unrecognized error code";

// By code from 0x00 to 0x31; 0xF1 to 0xF6 continue at 0x31, so that 0xF1 shares its text.
constexpr const char* kDeviceTexts[] = {
    "No error",
    "Invalid command",
    "Command too long",
    "Command too short",
    "Invalid CRC calculated for command",
    "Time-out on command execution",
    "Unable to set up new communication parameters",
    "Incorrect number of command parameters",
    "Invalid port handle selected",
    "Invalid tracking priority selected (must be S, D or B)",
    "Invalid LED selected",
    "Invalid LED state selected (must be B, F or S)",
    "Command is invalid while in the current mode",
    "No tool assigned to the selected port handle",
    "Selected port handle not initialized",
    "Selected port handle not enabled",
    "System not initialized",
    "Unable to stop tracking",
    "Unable to start tracking",
    "Unable to initialize Tool-in-Port",
    "Invalid Position Sensor or Field Generator characterization parameters",
    "Unable to initialize the Measurement System",
    "Unable to start diagnostic mode",
    "Unable to stop diagnostic mode",
    "Unable to determine environmental infrared or magnetic interference",
    "Unable to read device's firmware version information",
    "Internal Measurement System error",
    "Unable to initialize for environmental infrared diagnostics",
    "Unable to set marker firing signature",
    "Unable to search for SROM IDs",
    "Unable to read SROM data",
    "Unable to write SROM data",
    "Unable to select SROM",
    "Unable to perform tool current test",
    ("Unable to find camera parameters from the selected volume for the wavelength of a tool "
     "enabled for tracking"),
    "Command parameter out of range",
    "Unable to select parameters by volume",
    "Unable to determine Measurement System supported features list",
    "Reserved - Unrecognized Error 0x26",
    "Reserved - Unrecognized Error 0x27",
    "SCU hardware has changed state; a card has been removed or added",
    "Main processor firmware corrupt",
    "No memory available for dynamic allocation (heap is full)",
    "Requested handle has not been allocated",
    "Requested handle has become unoccupied",
    "All handles have been allocated",
    "Invalid port description",
    "Requested port already assigned to a port handle",
    "Invalid input or output state",
    "Too much environmental infrared",
    kUnrecognized,
    kUnrecognized,
    "Unable to read Flash EPROM",
    "Unable to write Flash EPROM",
    "Unable to erase Flash EPROM",
};
static_assert(sizeof(kDeviceTexts) / sizeof(*kDeviceTexts) == 0x31 + 1 + 5);

// By code / 0x100. The lookup ends before the last one: 0x800 reads as unrecognized.
constexpr const char* kHostTexts[] = {
    nullptr,
    "Bad CRC on reply from Measurement System",
    "Error opening serial connection",
    "Host not capable of given communications parameters",
    "Device->host communication timeout",
    "Serial port write error",
    "Serial port read error",
    "Measurement System failed to reset on break",
    "Measurement System not found on specified port",
};

} // namespace

const char* deviceErrorText(std::int32_t code) {
    if (code >= 0 && code <= 0x31) {
        return kDeviceTexts[code];
    }
    if (code >= 0xF1 && code <= 0xF6) {
        return kDeviceTexts[code - 0xF1 + 0x31];
    }
    if (code >= 0x100 && code <= 0x700) {
        return kHostTexts[code >> 8];
    }
    return kUnrecognized;
}

#pragma once

#include <cstdint>
#include <string>

struct DeviceRecord;

namespace Morvalin {

/// Reads a tool definition and writes it to a port handle of the device.
///
/// The path names a file, or, when it begins with ":/", a resource of the program. What cannot be
/// read counts as zeros, as does what a definition of less than 1,024 bytes lacks.
///
/// Returns 0, or -1 after the first command that failed. The part number is stored if it consists
/// of decimal digits, else it stays as it was; one beyond 32 bits throws std::out_of_range.
int uploadToolDefinition(DeviceRecord* device, std::int32_t portHandle, const std::string& path,
                         std::int32_t& partNumber);

} // namespace Morvalin

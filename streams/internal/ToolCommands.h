#pragma once

#include <cstdint>
#include <string>

namespace Morvalin {

class OpenDevice;

/// The commands that find port handles and make them ready. What the device refuses is reported by
/// its error callback.

inline constexpr std::int32_t noPortHandle = -1;

enum class PortHandles : unsigned { All = 0, ToBeFreed = 1 };

/// How many handles the device lists, for devicePhsrHandle() and devicePhsrStatus(); 0 when it does
/// not answer well.
int listPortHandles(OpenDevice& device, PortHandles which);

/// A new handle for a tool without a cable; noPortHandle when the answer holds none.
std::int32_t requestPortHandle(OpenDevice& device);

/// Reads a tool definition and writes it to a port handle of the device.
///
/// The path names a file, or, when it begins with ":/", a resource of the program. What cannot be
/// read, and what is no plain file, counts as zeros, as does what a definition of less than 1,024
/// bytes lacks.
///
/// Returns 0, or -1 after the first command that failed. The part number is stored if it consists
/// of decimal digits, else it stays as it was; one beyond 32 bits throws std::out_of_range.
int uploadToolDefinition(OpenDevice& device, std::int32_t portHandle, const std::string& path,
                         std::int32_t& partNumber);

void initializePort(OpenDevice& device, std::int32_t portHandle);

/// As a dynamic tool: one that may move fast.
void enablePort(OpenDevice& device, std::int32_t portHandle);

} // namespace Morvalin

#pragma once

#include <string>

namespace Morvalin {

/// The serial ports that are searched and accepted.
inline constexpr int serialPortCount = 20;

/// The name of serial port `index`, 0 to serialPortCount - 1.
std::string serialPortName(int index);

/// True for exactly the names that serialPortName() gives: "COM1" to "COM9", "\\.\COM10" to
/// "\\.\COM20".
bool isSerialPortName(const std::string& text);

/// True when the text holds four groups of one to three digits with dots between them, whatever
/// stands around them.
bool holdsNetworkAddress(const std::string& text);

/// True when it holds nothing else.
bool isNetworkAddress(const std::string& text);

/// True when the device is to be searched for: the text is empty or has "auto" in it.
bool asksForSearch(const std::string& text);

} // namespace Morvalin

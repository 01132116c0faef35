#include "streams/DeviceAddress.h"

#include "protocol/device.h"

#include <regex>

namespace Morvalin {
namespace {

const std::regex& addressPattern() {
    static const std::regex pattern("\\d{1,3}(\\.\\d{1,3}){3}");
    return pattern;
}

} // namespace

std::string serialPortName(int index) {
    return devicePortName(index);
}

bool isSerialPortName(const std::string& text) {
    for (int index = 0; index < serialPortCount; ++index)
        if (text == serialPortName(index))
            return true;
    return false;
}

bool holdsNetworkAddress(const std::string& text) {
    return std::regex_search(text, addressPattern());
}

bool isNetworkAddress(const std::string& text) {
    return std::regex_match(text, addressPattern());
}

bool asksForSearch(const std::string& text) {
    return text.empty() || text.find("auto") != std::string::npos;
}

} // namespace Morvalin

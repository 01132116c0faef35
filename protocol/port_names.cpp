#include "protocol/port_names.h"

#include "protocol/device.h"

#include <cstdio>

namespace protocol {

PortName formatPortName(int index) {
    PortName name;
    const long long number = index + 1LL;
    std::snprintf(name.text, sizeof(name.text), number < 10 ? "COM%lld" : "\\\\.\\COM%lld", number);
    return name;
}

} // namespace protocol

const char* devicePortName(int index) {
    thread_local protocol::PortName name;
    if (index < 0) {
        return nullptr;
    }
    name = protocol::formatPortName(index);
    return name.text;
}

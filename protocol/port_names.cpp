#include "protocol/device.h"

#include <cstdio>

const char* devicePortName(int index) {
    thread_local char name[100];
    if (index < 0) {
        return nullptr;
    }
    const long long number = index + 1LL;
    std::snprintf(name, sizeof(name), number < 10 ? "COM%lld" : "\\\\.\\COM%lld", number);
    return name;
}

#include "tests/protocol/posix/line_rate.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

unsigned lineRate(int descriptor) {
    termios2 settings = {};
    return ioctl(descriptor, TCGETS2, &settings) == 0 ? settings.c_ospeed : 0;
}

#include "simulator/posix/PtyTerminal.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

namespace ndisim {

PtyTerminal::HostLine readHostLine(int terminal) {
    termios2 settings{};
    if (::ioctl(terminal, TCGETS2, &settings) != 0) {
        return {};
    }
    return {static_cast<int>(settings.c_ospeed), (settings.c_cflag & CRTSCTS) != 0};
}

} // namespace ndisim

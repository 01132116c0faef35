#pragma once

// The system's headers, without the names that collide with C++ ones. Sockets come before the rest:
// the other way round, the rest brings the sockets of an older generation.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef _WINSOCK_DEPRECATED_NO_WARNINGS
#define _WINSOCK_DEPRECATED_NO_WARNINGS // the name look-up is meant to be the IPv4 one
#endif

#include <winsock2.h>

#include <windows.h>

# Cross-compilation for Windows with Debian's MinGW-w64, posix threads. Libraries are those that
# scripts/windows.sh has put into its cache; programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(DEFINED ENV{XDG_CACHE_HOME})
  set(MORVALIN_WINDOWS_CACHE $ENV{XDG_CACHE_HOME}/morvalin-windows)
else()
  set(MORVALIN_WINDOWS_CACHE $ENV{HOME}/.cache/morvalin-windows)
endif()

set(CMAKE_FIND_ROOT_PATH
  ${MORVALIN_WINDOWS_CACHE}/prefix ${MORVALIN_WINDOWS_CACHE}/qt /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(Boost_DIR ${CMAKE_CURRENT_LIST_DIR}/windows)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/windows/run-in-wine)

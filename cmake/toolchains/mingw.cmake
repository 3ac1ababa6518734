# What win32.cmake and win64.cmake share: the tools of TALVEX_MINGW (Debian's mingw-w64 with POSIX threads, which the
# C++ library's threads need), and everything linked in, so that programs and the DLL need only Windows.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${TALVEX_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TALVEX_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${TALVEX_MINGW}-windres)

# Programs of this machine, but neither its libraries nor its header files.
set(CMAKE_FIND_ROOT_PATH /usr/${TALVEX_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)

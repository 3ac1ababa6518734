# Windows on 32-bit x86.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(TALVEX_MINGW i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)

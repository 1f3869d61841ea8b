# Cross build for 64-bit Windows with Debian's mingw-w64 (posix thread model, so std::thread and
# std::mutex work), run under Wine. Used by the `windows` preset with the logic-only build: the
# std-only logic, the Win32 adapters and their tests, without Qt or curl (Debian has neither for
# mingw).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(STATION_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${STATION_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${STATION_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${STATION_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${STATION_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Everything static (libgcc, libstdc++, winpthread): an executable runs from any folder, under
# Wine or on a PC, without the compiler's DLLs beside it.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++")

# ctest runs the executables through Wine, in a prefix of the build's own so that nothing of the
# user's ~/.wine is used or changed (tests/CMakeLists.txt gives it a display for the run).
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-run;${CMAKE_BINARY_DIR}/wine/prefix")

# Cross build for 64-bit Windows with Debian's mingw-w64 (posix thread model, so std::thread and
# std::mutex work), run under Wine. Two presets use it:
# - `windows`: the logic-only build (std-only logic, the Win32 adapters and their tests), which
#   needs nothing beyond the compiler;
# - `windows-full`: the whole program with its Qt windows, curl, OpenSSL and pugixml, built
#   against the "Windows SDK": a prefix of those libraries cross-built from Debian's source
#   packages (scripts/windows-sdk). Its folder comes from the environment variable
#   STATION_WINDOWS_SDK, read here because a toolchain file is read again for every try-compile,
#   where the cache is not seen.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(STATION_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${STATION_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${STATION_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${STATION_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${STATION_MINGW_TRIPLE})
if(DEFINED ENV{STATION_WINDOWS_SDK} AND NOT "$ENV{STATION_WINDOWS_SDK}" STREQUAL "")
    list(APPEND CMAKE_FIND_ROOT_PATH "$ENV{STATION_WINDOWS_SDK}")
    list(APPEND CMAKE_PREFIX_PATH "$ENV{STATION_WINDOWS_SDK}")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# libgcc, libstdc++ and winpthread linked in: a test executable runs from any folder, under Wine or
# on a PC. (The SDK's own DLLs were built against the shared runtime: the run folder of the whole
# program carries those three DLLs for them.)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++")

# ctest runs the executables through Wine, in a prefix of the build's own so that nothing of the
# user's ~/.wine is used or changed (tests/CMakeLists.txt gives it a display for the run).
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-run;${CMAKE_BINARY_DIR}/wine/prefix")

# 32-bit Windows with Debian's mingw-w64 (POSIX thread model: std::thread and std::mutex work).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

# Headers and libraries only from the cross compiler's root and from what tools/build-deps made.
get_filename_component(IMX_WIN32_DEPS ${CMAKE_CURRENT_LIST_DIR}/../out/deps/win32 ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32 ${IMX_WIN32_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# One .exe with no DLLs beside it: the import library must not be preferred to the static one.
set(ZLIB_LIBRARY /usr/i686-w64-mingw32/lib/libz.a CACHE FILEPATH "Static zlib")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

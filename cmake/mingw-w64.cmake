# Tool chain file: 64-bit Windows by Debian's mingw-w64, in its variant with POSIX threads (the other
# one, by GCC 12, has no std::mutex). ZUKEL_APR_FOLDER is where tools/windows-apr has put APR.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_OBJDUMP x86_64-w64-mingw32-objdump)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${ZUKEL_APR_FOLDER})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config would answer for the machine that builds.
set(ENV{PKG_CONFIG_LIBDIR} "${ZUKEL_APR_FOLDER}/lib/pkgconfig")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZUKEL_APR_FOLDER)
# Programs run where neither the compiler's libraries nor those of its threads are.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/windows-run)

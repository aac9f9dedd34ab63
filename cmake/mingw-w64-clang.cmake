# Tool chain file: the same system by clang++, with the C++ library and the libraries of GCC's variant with
# POSIX threads, which clang 14 does not find by itself.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
file(GLOB zukel_gcc LIST_DIRECTORIES true /usr/lib/gcc/x86_64-w64-mingw32/*-posix)
list(GET zukel_gcc -1 zukel_gcc)
# The linker is called with these as well, and has no use for them.
set(CMAKE_CXX_FLAGS_INIT "-Wno-unused-command-line-argument -nostdinc++ -isystem ${zukel_gcc}/include/c++ \
-isystem ${zukel_gcc}/include/c++/x86_64-w64-mingw32")
# The linker of GCC warns of the sizes of what clang compiles. clang does not name the library of the threads,
# which libstdc++ needs; lld looks into each archive whatever their order. Not the whole of it: it has a version
# resource, and a DLL takes one.
foreach(kind IN ITEMS EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -fuse-ld=lld -L${zukel_gcc} -lwinpthread")
endforeach()

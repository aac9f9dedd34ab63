# Offsets and times of 64 bits also where words have 32: otherwise files end at 2 GiB, and time in 2038. The C
# library has to know both (glibc 2.34).
include(CheckCXXSourceCompiles)
if(NOT WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(zukel_large _FILE_OFFSET_BITS=64 _TIME_BITS=64)
  add_compile_definitions(${zukel_large})
  list(TRANSFORM zukel_large PREPEND -D OUTPUT_VARIABLE CMAKE_REQUIRED_DEFINITIONS)
  check_cxx_source_compiles("
    #include <sys/types.h>
    static_assert(sizeof(off_t) == 8 && sizeof(time_t) == 8);
    int main() {}" ZUKEL_HAS_LARGE_FILES)
  unset(CMAKE_REQUIRED_DEFINITIONS)
  if(NOT ZUKEL_HAS_LARGE_FILES)
    message(FATAL_ERROR "The C library has no offsets and times of 64 bits for this 32-bit system (glibc 2.34 and "
                        "later do): files beyond 2 GiB and dates beyond 2038 would be wrong.")
  endif()
endif()

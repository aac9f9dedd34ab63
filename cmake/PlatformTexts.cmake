# The four words that name the platform: the same everywhere (standard), or those of the system that
# is built for (native). Nothing but src/environment/PlatformTexts.cpp is given them.
set(ZUKEL_PLATFORM_TEXTS standard CACHE STRING "Words that name the platform: standard or native")
set_property(CACHE ZUKEL_PLATFORM_TEXTS PROPERTY STRINGS standard native)

if(NOT ZUKEL_PLATFORM_TEXTS MATCHES "^(standard|native)$")
  message(FATAL_ERROR "ZUKEL_PLATFORM_TEXTS is standard or native, not ${ZUKEL_PLATFORM_TEXTS}")
endif()
if(ZUKEL_PLATFORM_TEXTS STREQUAL native AND NOT WIN32)
  set(ZUKEL_PLATFORM_DEFINITIONS
    ZUKEL_PLATFORM="linux64" ZUKEL_PLATFORM_BASE="linux"
    ZUKEL_SHARED_LIB_PREFIX="lib" ZUKEL_SHARED_LIB_SUFFIX=".so")
else()
  set(ZUKEL_PLATFORM_DEFINITIONS
    ZUKEL_PLATFORM="win64" ZUKEL_PLATFORM_BASE="win"
    ZUKEL_SHARED_LIB_PREFIX="" ZUKEL_SHARED_LIB_SUFFIX=".dll")
endif()

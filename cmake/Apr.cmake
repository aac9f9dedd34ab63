# APR, found where the system keeps it. Its headers count as system headers: their warnings
# are not ours.
set(ZUKEL_APR_VERSION 1.7)
set(ZUKEL_APR apr-1>=${ZUKEL_APR_VERSION})
if(MSVC)  # without pkg-config; ZUKEL_APR_FOLDER is where APR is installed
  find_path(APR_INCLUDE_DIRS apr.h HINTS ${ZUKEL_APR_FOLDER} PATH_SUFFIXES include/apr-1 include REQUIRED)
  find_library(APR_LIBRARY NAMES apr-1 HINTS ${ZUKEL_APR_FOLDER} PATH_SUFFIXES lib REQUIRED)
  set(APR_STATIC_LIBRARIES apr-1 ws2_32 mswsock rpcrt4 advapi32 shell32 iphlpapi)
  add_library(zukel_apr INTERFACE IMPORTED)
  add_library(PkgConfig::APR ALIAS zukel_apr)
  target_include_directories(zukel_apr SYSTEM INTERFACE ${APR_INCLUDE_DIRS})
  target_compile_definitions(zukel_apr INTERFACE APR_DECLARE_STATIC _WIN32_WINNT=0x0601)
  target_link_libraries(zukel_apr INTERFACE ${APR_LIBRARY} ws2_32 mswsock rpcrt4 advapi32 shell32 iphlpapi)
else()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(APR REQUIRED IMPORTED_TARGET ${ZUKEL_APR})
endif()
find_package(Threads REQUIRED)

# For packages that somebody without APR takes: the static library has it in itself, and what it
# needs of the system is named.
option(ZUKEL_BUNDLE_APR "Install APR within the static library" OFF)
set(ZUKEL_APR_NEEDS ${APR_STATIC_LIBRARIES})
list(REMOVE_ITEM ZUKEL_APR_NEEDS apr-1)

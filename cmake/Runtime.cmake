# The runtime, found where the system keeps it. Its headers count as system headers: their warnings
# are not ours.
find_package(PkgConfig REQUIRED)
set(ZUKEL_RUNTIME_VERSION 1.7)
set(ZUKEL_RUNTIME apr-1>=${ZUKEL_RUNTIME_VERSION})
pkg_check_modules(APR REQUIRED IMPORTED_TARGET ${ZUKEL_RUNTIME})
find_package(Threads REQUIRED)

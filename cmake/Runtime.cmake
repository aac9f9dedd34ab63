# The runtime, found where the system keeps it. Its headers count as system headers: their warnings
# are not ours.
find_package(PkgConfig REQUIRED)
set(ZUKEL_RUNTIME apr-1>=1.7)
pkg_check_modules(APR REQUIRED IMPORTED_TARGET ${ZUKEL_RUNTIME})
find_package(Threads REQUIRED)

# For packages that somebody without the runtime takes: the static library has it in itself, and what it
# needs of the system is named.
option(ZUKEL_BUNDLE_RUNTIME "Install the runtime within the static library" OFF)
set(ZUKEL_RUNTIME_NEEDS ${APR_STATIC_LIBRARIES})
list(REMOVE_ITEM ZUKEL_RUNTIME_NEEDS apr-1)

# The runtime, found where the system keeps it. Its headers count as system headers: their warnings
# are not ours.
find_package(PkgConfig REQUIRED)
pkg_check_modules(APR REQUIRED IMPORTED_TARGET apr-1>=1.7)
find_package(Threads REQUIRED)

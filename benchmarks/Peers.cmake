# The libraries compared with, where they are installed; none is needed.
find_package(Boost 1.74 QUIET COMPONENTS filesystem)
find_package(Poco QUIET COMPONENTS Foundation)
find_package(Qt6 QUIET COMPONENTS Core)
pkg_check_modules(GLIB QUIET IMPORTED_TARGET gio-unix-2.0 gmodule-2.0)
pkg_check_modules(LIBUV QUIET IMPORTED_TARGET libuv)

# The Debian packages that `cpack` makes: the library, what is needed to build with it, and the
# documents. tools/package configures for them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR zukel)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL zukel_runtime zukel_development zukel_documentation)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)

# Who made the packages, told as to every Debian tool.
set(CPACK_PACKAGE_CONTACT "zukel maintainers <zukel@example.org>")
if(DEFINED ENV{DEBEMAIL} AND DEFINED ENV{DEBFULLNAME})
  set(CPACK_PACKAGE_CONTACT "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE zukel)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)

# zukel_debian_package(COMPONENT NAME SECTION TITLE TEXT). The first line of the description is the title.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
macro(zukel_debian_package component name section title text)
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${component}_DESCRIPTION "operating-system abstraction in C++ - ${title}
zukel stands between an application and the operating system: files,
directories, processes, shared memory, clocks and figures of the machine,
as plain C++17 classes over the Apache Portable Runtime.

${text}")
endmacro()

zukel_debian_package(ZUKEL_RUNTIME libzukel${PROJECT_VERSION_MAJOR} libs "shared library"
  "This package holds the shared library.")
set(CPACK_DEBIAN_ZUKEL_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ZUKEL_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)

zukel_debian_package(ZUKEL_DEVELOPMENT libzukel-dev libdevel "development files"
  "This package holds the headers, the static library, and the files by which
CMake and pkg-config find them.")
set(CPACK_COMPONENT_ZUKEL_DEVELOPMENT_DEPENDS zukel_runtime)
# The headers of APR: only who links the static library needs them.
set(CPACK_DEBIAN_ZUKEL_DEVELOPMENT_PACKAGE_SUGGESTS "libapr1-dev, libzukel-doc")

zukel_debian_package(ZUKEL_DOCUMENTATION libzukel-doc doc "documentation"
  "This package holds the reference, the guide and other documents, and the
examples.")
set(CPACK_DEBIAN_ZUKEL_DOCUMENTATION_PACKAGE_ARCHITECTURE all)

foreach(step IN ITEMS Files Control)
  configure_file(packaging/debian/${step}.cmake.in Debian${step}.cmake @ONLY)
endforeach()
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/DebianFiles.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/DebianControl.cmake)
include(CPack)

# What `cmake --install` places, in three components. The result may be moved as a whole.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zukel
        COMPONENT zukel_development
        FILES_MATCHING PATTERN *.h)

set(zukel_config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/zukel)
function(zukel_install_library target file)
  if(TARGET ${target})
    install(TARGETS ${target} EXPORT ${target}
            RUNTIME COMPONENT zukel_runtime
            LIBRARY COMPONENT zukel_runtime NAMELINK_COMPONENT zukel_development
            ARCHIVE COMPONENT zukel_development
            INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zukel)
    install(EXPORT ${target} NAMESPACE zukel:: FILE ${file}
            DESTINATION ${zukel_config_folder}
            COMPONENT zukel_development)
  endif()
endfunction()
zukel_install_library(zukel zukelSharedTargets.cmake)
zukel_install_library(zukel_static zukelStaticTargets.cmake)

if(ZUKEL_BUNDLE_APR AND TARGET zukel_static)
  find_library(ZUKEL_APR_ARCHIVE NAMES libapr-1.a apr-1 PATHS ${APR_LIBRARY_DIRS} NO_DEFAULT_PATH
               NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(zukel_bundle "create libbundle.a\naddlib $<TARGET_FILE:zukel_static>\naddlib ${ZUKEL_APR_ARCHIVE}\nsave\nend\n")
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/bundle.mri CONTENT "${zukel_bundle}")
  install(CODE "execute_process(COMMAND ${CMAKE_AR} -M INPUT_FILE ${PROJECT_BINARY_DIR}/bundle.mri
                                WORKING_DIRECTORY ${PROJECT_BINARY_DIR} COMMAND_ERROR_IS_FATAL ANY)
                file(INSTALL ${PROJECT_BINARY_DIR}/libbundle.a RENAME libzukel.a
                     DESTINATION \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR})"
          COMPONENT zukel_development)
endif()

set(zukel_mingw_alone ${MINGW})
configure_package_config_file(cmake/zukelConfig.cmake.in zukelConfig.cmake
                              INSTALL_DESTINATION ${zukel_config_folder}
                              NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(zukelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zukelConfig.cmake ${PROJECT_BINARY_DIR}/zukelConfigVersion.cmake
        DESTINATION ${zukel_config_folder}
        COMPONENT zukel_development)

# The pkg-config module finds the folders from its own place. Not where they were chosen to be absolute,
# nor below /usr, which is never moved and has shorter flags by its name.
set(zukel_pc_prefix ${CMAKE_INSTALL_PREFIX})
set(zukel_pc_libdir \${prefix})
cmake_path(APPEND zukel_pc_libdir ${CMAKE_INSTALL_LIBDIR})
cmake_path(IS_ABSOLUTE CMAKE_INSTALL_LIBDIR zukel_fixed)
if(NOT zukel_fixed AND NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
  string(REGEX REPLACE "[^/]+" ".." zukel_up ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  set(zukel_pc_prefix \${pcfiledir}/${zukel_up})
endif()
set(zukel_pc_includedir \${prefix})
cmake_path(APPEND zukel_pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
list(JOIN APR_STATIC_LDFLAGS " " zukel_pc_apr)
if(ZUKEL_BUNDLE_APR)
  list(TRANSFORM ZUKEL_APR_NEEDS PREPEND -l OUTPUT_VARIABLE zukel_pc_apr)
  list(JOIN zukel_pc_apr " " zukel_pc_apr)
endif()
if(WIN32)
  string(APPEND zukel_pc_apr " -luserenv")
endif()
set(zukel_pc_archive ${CMAKE_STATIC_LIBRARY_PREFIX}zukel${CMAKE_STATIC_LIBRARY_SUFFIX})
set(zukel_pc_modules zukel.pc)
if(TARGET zukel_static)
  list(APPEND zukel_pc_modules zukel-static.pc)
endif()
foreach(module IN LISTS zukel_pc_modules)
  configure_file(cmake/${module}.in ${module} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${module}
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT zukel_development)
endforeach()

# What the library is made of, as SPDX tells it. The sources stand for the namespace, which is to be unique.
file(GLOB_RECURSE zukel_sbom_files ${PROJECT_SOURCE_DIR}/include/* ${PROJECT_SOURCE_DIR}/src/*)
set(zukel_sbom_sources "")
foreach(source IN LISTS zukel_sbom_files)
  file(SHA256 ${source} digest)
  string(APPEND zukel_sbom_sources ${digest})
endforeach()
string(SHA256 zukel_sbom_sources "${zukel_sbom_sources}")
string(TIMESTAMP zukel_sbom_time "%Y-%m-%dT%H:%M:%SZ" UTC)  # SOURCE_DATE_EPOCH decides of it
configure_file(packaging/zukel.spdx.json.in zukel.spdx.json @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zukel.spdx.json
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zukel
        COMPONENT zukel_development)

# The documents lie to each other as they do in the sources, so that their links hold.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGES.md
              ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md ${PROJECT_SOURCE_DIR}/SECURITY.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT zukel_documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
        DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT zukel_documentation
        FILES_MATCHING PATTERN *.cpp PATTERN *.h)
foreach(folder IN ITEMS ${PROJECT_SOURCE_DIR}/docs ${PROJECT_BINARY_DIR}/reference)
  install(DIRECTORY ${folder}
          DESTINATION ${CMAKE_INSTALL_DOCDIR}
          COMPONENT zukel_documentation
          OPTIONAL)
endforeach()

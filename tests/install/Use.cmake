# Builds the project in `outside` in the folder WORK against what is installed in PLACE, in one WAY,
# runs its program, and looks what that needs to run:
#
#   package          find_package, zukel::zukel
#   package-static   find_package with the component `static`, zukel::static
#   package-archive  find_package, zukel::zukel, where no shared library is installed
#   module           pkg-config, by the line of README.md
#   module-archive   its line for the static library
#   module-static    pkg-config --static and -static: a program that needs no library at all
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(outside ${CMAKE_CURRENT_LIST_DIR}/outside)
set(program ${CMAKE_CURRENT_LIST_DIR}/../../examples/guide/first.cpp)  # as README.md shows it
set(fatal COMMAND_ERROR_IS_FATAL ANY)
set(module_module zukel)
set(module_module-archive zukel-static)

if(WAY MATCHES ^package)
  set(options --no-warn-unused-cli -D CMAKE_PREFIX_PATH=${PLACE} -D CMAKE_CXX_COMPILER=${COMPILER}
              -D PROGRAM=${program})
  if(WAY STREQUAL "package")
    # Who links the shared library needs not even the means to find APR.
    list(APPEND options -D CMAKE_DISABLE_FIND_PACKAGE_PkgConfig=ON)
  elseif(WAY STREQUAL "package-static")
    list(APPEND options -D COMPONENTS=static -D LIBRARY=zukel::static)
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${outside} -B ${WORK} -G ${GENERATOR} ${options}
                  OUTPUT_QUIET ${fatal})
  load_cache(${WORK} READ_WITH_PREFIX outside_ zukel_DIR)
  cmake_path(IS_PREFIX PLACE ${outside_zukel_DIR} here)
  if(NOT here)
    message(FATAL_ERROR "found ${outside_zukel_DIR}, not what is below ${PLACE}")
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK} OUTPUT_VARIABLE output ECHO_ERROR_VARIABLE
                  RESULT_VARIABLE result)
  if(result)
    message(FATAL_ERROR "${output}")
  endif()
else()
  if(PLACE MATCHES "['\"]")
    message("SKIPPED: pkg-config hands out no folder with a quote in its name")
    return()
  endif()
  file(GLOB_RECURSE module ${PLACE}/*/zukel.pc)
  cmake_path(GET module PARENT_PATH folder)
  cmake_path(GET folder PARENT_PATH libraries)
  set(ENV{PKG_CONFIG_PATH} ${folder})
  set(query ${PKG_CONFIG} ${PKG_CONFIG_OPTIONS} --cflags --libs "zukel >= 1.0")
  if(WAY STREQUAL "module-static")
    execute_process(COMMAND ${query} --static OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE ${fatal})
    separate_arguments(flags UNIX_COMMAND "${flags}")
    execute_process(COMMAND ${COMPILER} -std=c++17 -static ${program} ${outside}/headers.cpp
                            -o ${WORK}/outside ${flags} ${fatal})
  else()
    # The line of README.md.
    file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../../README.md lines REGEX "^    pkg-config .* ${module_${WAY}} .*program.cpp")
    list(LENGTH lines count)
    if(NOT count EQUAL 1)
      message(FATAL_ERROR "README.md has ${count} lines for ${module_${WAY}}")
    endif()
    string(REPLACE "pkg-config " "'${PKG_CONFIG}' ${PKG_CONFIG_OPTIONS} " line "${lines}")
    string(REPLACE "program.cpp -o program" "program.cpp headers.cpp -o outside" line "${line}")
    file(COPY_FILE ${program} ${WORK}/program.cpp)
    file(COPY_FILE ${outside}/headers.cpp ${WORK}/headers.cpp)
    execute_process(COMMAND sh -c "${line}" WORKING_DIRECTORY ${WORK} ${fatal})
  endif()
  if(WAY STREQUAL "module")
    # All that it takes, and nothing of APR.
    execute_process(COMMAND ${query} OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE ${fatal})
    separate_arguments(flags UNIX_COMMAND "${flags}")
    set(left)
    foreach(flag IN LISTS flags)
      string(REGEX REPLACE "^-[IL]" "" path ${flag})
      file(REAL_PATH ${path} path)
      if(NOT flag STREQUAL "-lzukel" AND NOT path STREQUAL "${PLACE}/include/zukel"
         AND NOT path STREQUAL libraries)
        list(APPEND left ${flag})
      endif()
    endforeach()
    if(left)
      message(FATAL_ERROR "pkg-config hands ${left} to everybody")
    endif()
    set(ENV{LD_LIBRARY_PATH} ${libraries})
  endif()
endif()

execute_process(COMMAND ${WORK}/outside WORKING_DIRECTORY ${WORK} OUTPUT_VARIABLE printed ${fatal})
if(NOT printed STREQUAL "read: a first line\nread: and a second one\n")
  message(FATAL_ERROR "the program printed ${printed}")
endif()

# What the program needs: the library or APR, by the way it was linked.
set(needed_package libzukel.so.1)
set(needed_module libzukel.so.1)
set(needed_package-static libapr-1.so.0)
set(needed_package-archive libapr-1.so.0)
set(needed_module-archive libapr-1.so.0)
set(needed_module-static "")
execute_process(COMMAND ${READELF} -d ${WORK}/outside OUTPUT_VARIABLE dynamic ${fatal})
string(REGEX MATCHALL "lib(zukel|apr-1)\\.so[.0-9]*" needed "${dynamic}")
list(REMOVE_DUPLICATES needed)
if(NOT "${needed}" STREQUAL "${needed_${WAY}}")
  message(FATAL_ERROR "the program needs '${needed}' and not '${needed_${WAY}}'")
endif()

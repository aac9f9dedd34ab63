# Builds the project in `below`, which has the sources SOURCE as a part of its own build, in the folder
# WORK, and runs its program. GoogleTest is not to be had there, and nothing of the project's own is built.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK})
set(fatal COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/below -B ${WORK} -G ${GENERATOR}
                        -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
                        -D CMAKE_BUILD_TYPE=Debug -D CMAKE_DISABLE_FIND_PACKAGE_GTest=ON -D ZUKEL=${SOURCE}
                        --no-warn-unused-cli
                OUTPUT_QUIET ${fatal})
foreach(part IN ITEMS tests examples benchmarks fuzz)
  if(EXISTS ${WORK}/zukel/${part})
    message(FATAL_ERROR "${part} are built below another project")
  endif()
endforeach()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK} OUTPUT_VARIABLE output ECHO_ERROR_VARIABLE
                RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "${output}")
endif()
execute_process(COMMAND ${WORK}/outside WORKING_DIRECTORY ${WORK} OUTPUT_VARIABLE printed ${fatal})
if(NOT printed STREQUAL "read: a first line\nread: and a second one\n")
  message(FATAL_ERROR "the program printed ${printed}")
endif()

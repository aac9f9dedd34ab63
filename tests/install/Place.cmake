# Installs BUILD, moves what came out to PLACE, and looks whether all of it is there and nothing in it
# still knows another place.
cmake_minimum_required(VERSION 3.25)

set(first ${PLACE}-from)
file(REMOVE_RECURSE ${first} ${PLACE})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --config "${CONFIG}" --prefix ${first}
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${first} ${PLACE})

file(GLOB wanted RELATIVE ${SOURCE}/include ${SOURCE}/include/*)
file(GLOB placed RELATIVE ${PLACE}/include/zukel ${PLACE}/include/zukel/*)
if(NOT wanted STREQUAL placed)
  message(SEND_ERROR "The headers are ${wanted}, and installed are ${placed}")
endif()

file(READ ${PLACE}/share/zukel/zukel.spdx.json parts)
string(JSON version GET "${parts}" packages 0 versionInfo)
string(JSON apr GET "${parts}" packages 1 versionInfo)
if(NOT version STREQUAL VERSION OR NOT apr MATCHES "^1[.][0-9]+[.][0-9]+$")
  message(SEND_ERROR "the list of parts has version ${version}, and ${apr} of APR")
endif()

file(GLOB_RECURSE texts ${PLACE}/*.cmake ${PLACE}/*.pc ${PLACE}/*.h ${PLACE}/*.json ${PLACE}/*.md)
foreach(text IN LISTS texts)
  file(READ ${text} content)
  foreach(folder IN ITEMS ${first} ${BUILD} ${SOURCE})
    string(FIND "${content}" ${folder} at)
    if(NOT at EQUAL -1)
      message(SEND_ERROR "${text} names ${folder}")
    endif()
  endforeach()
endforeach()

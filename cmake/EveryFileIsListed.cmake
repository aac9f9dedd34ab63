# Stops the configuration when a file below the current folder matches a pattern and stands in no
# list: a source that nobody builds, or a test that nobody runs.
function(zukel_every_file_is_listed listed)
  foreach(pattern IN LISTS ARGN)
    file(GLOB_RECURSE found RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS ${pattern})
    foreach(file IN LISTS found)
      if(NOT file IN_LIST listed)
        message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}/${file} stands in no list of CMakeLists.txt")
      endif()
    endforeach()
  endforeach()
endfunction()

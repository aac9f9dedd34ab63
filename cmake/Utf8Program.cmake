# The system reads the narrow names of a Windows program in the program's code page. This makes that
# UTF-8, by a resource, so that every name can be told to the library; elsewhere nothing is needed.
function(zukel_utf8_program name)
  if(WIN32)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/windows/utf8.rc)
  endif()
endfunction()

if(WIN32)
  enable_language(RC)
endif()

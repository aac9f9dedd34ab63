# The target `reference`: Doxygen's pages of the public headers and of the documents, in
# <build>/reference. Any warning of Doxygen fails it. It is no part of `all`; without Doxygen it is not
# there.
find_program(ZUKEL_DOXYGEN doxygen)
mark_as_advanced(ZUKEL_DOXYGEN)
if(ZUKEL_DOXYGEN)
  set(zukel_reference_output ${PROJECT_BINARY_DIR}/reference)
  set(zukel_reference_input "${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/docs/guide.md ${PROJECT_SOURCE_DIR}/docs/guide ${PROJECT_SOURCE_DIR}/docs/what-it-does-not-do.md")
  configure_file(cmake/Doxyfile.in Doxyfile @ONLY)
  add_custom_target(reference
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${zukel_reference_output}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${zukel_reference_output}
    COMMAND ${ZUKEL_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMENT "Making the reference in ${zukel_reference_output}"
    VERBATIM)
endif()

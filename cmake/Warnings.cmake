# The warnings under which all of the project's own code is clean, with g++ and clang++.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(ZUKEL_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

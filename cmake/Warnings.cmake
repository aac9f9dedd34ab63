# The warnings under which all of the project's own code is clean, with g++ and clang++. cl's are prepared,
# not tried.
if(MSVC)
  add_compile_options(/W4 /utf-8 /permissive- $<$<BOOL:${ZUKEL_WARNINGS_AS_ERRORS}>:/WX>)
  add_compile_definitions(NOMINMAX _CRT_SECURE_NO_WARNINGS)
else()
  add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(ZUKEL_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
  endif()
endif()

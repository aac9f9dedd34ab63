# -DZUKEL_SANITIZE=address,undefined or =thread instruments everything that is built here.
if(ZUKEL_SANITIZE)
  add_compile_options(-fsanitize=${ZUKEL_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZUKEL_SANITIZE})
endif()

# -DZUKEL_COVERAGE=ON counts which lines and branches the tests reach, as gcov reads it. Nothing is put
# inline, so that a branch counts once, where it stands.
option(ZUKEL_COVERAGE "Count the lines and branches that are executed" OFF)
if(ZUKEL_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic -fno-inline)
  add_link_options(--coverage LINKER:--undefined=__gcov_dump)  # for children that leave by _exit
endif()

# -DZUKEL_FUZZ=ON lets the fuzzer see which branches its inputs take.
if(ZUKEL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

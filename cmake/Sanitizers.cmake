# -DZUKEL_SANITIZE=address,undefined or =thread instruments everything that is built here.
if(ZUKEL_SANITIZE)
  add_compile_options(-fsanitize=${ZUKEL_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZUKEL_SANITIZE})
endif()

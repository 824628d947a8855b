# Compiler settings shared by every Vivark target: strict warnings as errors,
# and the sanitizer configuration that CI builds as a second variant.

if(VIVARK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

function(vivark_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()

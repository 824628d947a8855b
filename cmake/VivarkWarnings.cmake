# Compiler settings shared by every Vivark target: strict warnings (errors
# only when VIVARK_WERROR is on, as the project's scripts and CI set it; a
# packager's plain build must not fail on a new compiler's new warning), and
# the sanitizer configuration that CI builds as a second variant.

option(VIVARK_WERROR "Treat compiler warnings as errors" OFF)

if(VIVARK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# The fuzz build instruments everything for coverage and runs it under ASan
# and UBSan; only the harnesses link libFuzzer itself (fuzz/CMakeLists.txt).
if(VIVARK_FUZZ AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

function(vivark_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(VIVARK_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

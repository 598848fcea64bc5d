# Warnings, frame pointers and the sanitizer of the build: the same for the library and for all that is built around it.
function(zarlib_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
    -Werror=return-type -fno-omit-frame-pointer)
  if(ZARLIB_SANITIZER)
    target_compile_options(${target} PRIVATE -fsanitize=${ZARLIB_SANITIZER} -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${ZARLIB_SANITIZER})
    # The checks that a sanitizer weaves in make this warning see what is not there, in the standard library's headers first.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  endif()
endfunction()

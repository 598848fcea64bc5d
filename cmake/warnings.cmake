# Warnings, frame pointers and the sanitizer: the same for the library and everything built with it.
function(zarlib_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
    -Werror=return-type -fno-omit-frame-pointer)
  if(ZARLIB_SANITIZER)
    target_compile_options(${target} PRIVATE -fsanitize=${ZARLIB_SANITIZER} -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${ZARLIB_SANITIZER})
    # Sanitizer instrumentation causes false positives of this warning, above all in the standard library's headers.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  endif()
endfunction()

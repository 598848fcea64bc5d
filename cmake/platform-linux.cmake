# What the library links on Linux: threads, the loader, and libbacktrace, which is in the compiler's own folders.
find_package(Threads REQUIRED)

execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libbacktrace.a
  OUTPUT_VARIABLE zarlib_backtrace OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT IS_ABSOLUTE "${zarlib_backtrace}")
  message(FATAL_ERROR "libbacktrace.a not found: install the GNU C++ compiler (package g++), which contains it")
endif()
get_filename_component(zarlib_backtrace_dir "${zarlib_backtrace}" DIRECTORY)

# Only the one header is taken from the compiler's folder, so that clang keeps its own intrinsics headers.
configure_file("${zarlib_backtrace_dir}/include/backtrace.h" "${CMAKE_BINARY_DIR}/libbacktrace/backtrace.h" COPYONLY)
target_include_directories(zarlib SYSTEM PRIVATE "${CMAKE_BINARY_DIR}/libbacktrace")
target_link_libraries(zarlib PRIVATE "${zarlib_backtrace}" Threads::Threads ${CMAKE_DL_LIBS})

# The few bytes of thread-local storage fit the loader's static reserve, one addition away, even after link-time optimisation.
target_compile_options(zarlib PRIVATE -ftls-model=initial-exec)

# Bound at load time, as the crash path must not invoke the lazy binder; symbols of archives and standard library templates stay hidden.
# Never unloaded: the installed fault handlers point into it.
target_link_options(zarlib PRIVATE -Wl,-z,now -Wl,-z,relro -Wl,-z,nodelete -Wl,-Bsymbolic-functions -Wl,--exclude-libs,ALL
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
if(NOT ZARLIB_SANITIZER)
  target_link_options(zarlib PRIVATE -Wl,--no-undefined)
endif()
set_target_properties(zarlib PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)

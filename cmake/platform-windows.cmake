# What the library links on Windows: the system's own DLLs only. The run-time DLLs of the compiler are laid beside the built
# programs, so that they start from where they are.
target_link_libraries(zarlib PRIVATE dbghelp psapi shlwapi ws2_32 netapi32)
# The debug information that debuggers of this system read furthest.
add_compile_options(-gdwarf-4)
target_compile_options(zarlib PRIVATE -gdwarf-4)
target_compile_definitions(zarlib PRIVATE _WIN32_WINNT=0x0601)

foreach(name libstdc++-6.dll libgcc_s_dw2-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE zarlib_runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${zarlib_runtime}")
    find_file(zarlib_found_${name} ${name} PATHS /usr/i686-w64-mingw32/lib NO_CMAKE_FIND_ROOT_PATH)
    set(zarlib_runtime "${zarlib_found_${name}}")
  endif()
  if(zarlib_runtime)
    configure_file("${zarlib_runtime}" "${CMAKE_BINARY_DIR}/bin/${name}" COPYONLY)
    list(APPEND zarlib_runtime_dlls "${zarlib_runtime}")
  endif()
endforeach()

# Each operation on doubles is rounded once, to a double, as on Linux; the oldest instructions round to a wider number first.
set_source_files_properties(zarlib/time/geometry.cpp PROPERTIES COMPILE_OPTIONS "-msse2;-mfpmath=sse;-mstackrealign")

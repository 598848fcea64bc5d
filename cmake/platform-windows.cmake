# What the library links on Windows: the system's own DLLs only. The compiler's run-time DLLs are copied next to the built
# programs, so that they run in place.
target_link_libraries(zarlib PRIVATE dbghelp psapi shlwapi ws2_32 netapi32)
# The DWARF version with the widest support among debuggers on Windows.
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

# SSE2 rounds each operation to double, as on Linux; x87 would keep extended precision in between.
set_source_files_properties(zarlib/time/geometry.cpp PROPERTIES COMPILE_OPTIONS "-msse2;-mfpmath=sse;-mstackrealign")

# Installs the library, its headers, find_package(zarlib) with zarlib::zarlib, and zarlib.pc.
include(CMakePackageConfigHelpers)

install(TARGETS zarlib EXPORT zarlib-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# Headers that only the library's own sources include are left out; tools/check_install verifies that the rest is complete.
install(DIRECTORY zarlib/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zarlib
  FILES_MATCHING PATTERN "*.h"
  PATTERN "platform" EXCLUDE
  REGEX "crash/(api_modules|symbol_handler)|memory/dymic_alloc_helper|text/(codec_blocks|codec_loops|document_path)" EXCLUDE
  REGEX "net/receive_buffer" EXCLUDE
  REGEX "trace/(line_prefix|line_text|nesting_depths|option_text|spare_records)" EXCLUDE
  REGEX "crypto/(aes_path|default_key|rc4|wipe)\\.h" EXCLUDE
  REGEX "xml/(entities|node|node_blocks|parser|serialiser|text_sink|words)\\.h" EXCLUDE)
install(FILES zarlib/platform/types.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zarlib/platform)
if(WIN32)
  install(FILES ${zarlib_runtime_dlls} DESTINATION ${CMAKE_INSTALL_BINDIR})
  # CMake strips only what it has built; these DLLs carry symbols of twenty times their own size.
  foreach(dll ${zarlib_runtime_dlls})
    get_filename_component(name ${dll} NAME)
    install(CODE "if(CMAKE_INSTALL_DO_STRIP)
      execute_process(COMMAND ${CMAKE_STRIP} \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${name}\")
    endif()")
  endforeach()
endif()

set(zarlib_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zarlib)
install(EXPORT zarlib-targets NAMESPACE zarlib:: DESTINATION ${zarlib_cmake_dir} FILE zarlib-config.cmake)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/zarlib-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/zarlib-config-version.cmake DESTINATION ${zarlib_cmake_dir})

# The prefix is relative to the .pc file, so an installed tree is relocatable.
file(RELATIVE_PATH zarlib_pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/zarlib.pc.in ${CMAKE_BINARY_DIR}/zarlib.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/zarlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_PACKAGE_NAME zarlib)
set(CPACK_PACKAGE_CONTACT "The ZARLib maintainers <maintainers@localhost>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# On Debian the symbols go into a package of their own; on Windows the system's debuggers do not read them.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_STRIP_FILES ${WIN32})
include(CPack)

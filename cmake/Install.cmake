# What an installer's own build needs: the shared library, its headers, and a CMake package, so that
# find_package(registration_commands) gives the target registration::commands.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(targets registration_commands)
# The component framework goes with the library, the one of this tree or an installed one's DLL.
if(CppMicroServices_FOUND)
  install(IMPORTED_RUNTIME_ARTIFACTS CppMicroServices
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
else()
  list(APPEND targets CppMicroServices)
endif()
set_target_properties(registration_commands PROPERTIES INSTALL_RPATH $ORIGIN)
install(TARGETS ${targets} EXPORT registration_commands
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

# An include path is the namespace's: <prefix>/include holds registration/, fl/, install/,
# foundation/ and machine/.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ ${PROJECT_SOURCE_DIR}/layers/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN *.hpp)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/registration/utility
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/registration FILES_MATCHING PATTERN *.hpp)
file(GLOB machine_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/machine/*.hpp)
install(FILES ${machine_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/machine)
install(FILES ${PROJECT_SOURCE_DIR}/layers/install/cppinstrset/instructionset.schema.json
  ${PROJECT_SOURCE_DIR}/tools/regplan/regplan.schema.json
  ${PROJECT_SOURCE_DIR}/tools/regplan/report.schema.json
  ${PROJECT_SOURCE_DIR}/tools/regplan/event.schema.json
  DESTINATION ${CMAKE_INSTALL_DATADIR}/registration_commands)

if(WIN32)
  # The program must find these beside it or beside the library.
  foreach(dll ${runtime_dlls})
    install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll} DESTINATION ${CMAKE_INSTALL_BINDIR})
  endforeach()
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/registration_commands)
install(EXPORT registration_commands NAMESPACE registration::
  FILE registration_commands-targets.cmake DESTINATION ${package_dir})
configure_file(${CMAKE_CURRENT_LIST_DIR}/registration_commands-config.cmake.in
  registration_commands-config.cmake @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/registration_commands-config.cmake
  DESTINATION ${package_dir})
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(registration_commands-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/registration_commands-config-version.cmake
  DESTINATION ${package_dir})

# The component framework: an installed CppMicroServices, else the part of it that lies in this tree.
# Either way the target is CppMicroServices.
find_package(CppMicroServices 3.8 CONFIG QUIET)
if(NOT CppMicroServices_FOUND)
  add_subdirectory(component_framework)
elseif(WIN32)
  # Windows looks for DLLs beside the program.
  get_target_property(component_framework_dll CppMicroServices LOCATION)
  file(COPY ${component_framework_dll} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endif()

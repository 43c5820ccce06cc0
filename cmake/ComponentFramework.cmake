# The component framework: an installed CppMicroServices, else the part of it that lies in this tree.
# Either way the target is CppMicroServices.
find_package(CppMicroServices 3.8 CONFIG QUIET)
if(NOT CppMicroServices_FOUND)
  add_subdirectory(component_framework)
endif()

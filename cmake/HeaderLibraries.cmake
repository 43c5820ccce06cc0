# Header-only libraries from Debian's packages. They lie among the host's own headers, which a
# Windows build must never see, so both builds get a folder that links to just these.
set(header_libraries_dir ${CMAKE_BINARY_DIR}/header-libraries)
file(MAKE_DIRECTORY ${header_libraries_dir})
foreach(entry nlohmann CLI utf8.h utf8 valijson)
  if(NOT EXISTS /usr/include/${entry})
    message(FATAL_ERROR "/usr/include/${entry} is missing; scripts/setup installs it")
  endif()
  file(CREATE_LINK /usr/include/${entry} ${header_libraries_dir}/${entry} SYMBOLIC)
endforeach()
add_library(header_libraries INTERFACE)
target_include_directories(header_libraries SYSTEM INTERFACE $<BUILD_INTERFACE:${header_libraries_dir}>)

# The compiler's run-time DLLs, put beside the programs: one shared C++ run time, so that exceptions
# cross from the library to the program that uses it.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(runtime_dlls libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
foreach(dll ${runtime_dlls})
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${path}")
    find_file(runtime_${dll} ${dll} PATHS /usr/x86_64-w64-mingw32/lib NO_DEFAULT_PATH REQUIRED)
    set(path ${runtime_${dll}})
  endif()
  file(COPY_FILE ${path} ${CMAKE_BINARY_DIR}/bin/${dll} ONLY_IF_DIFFERENT)
endforeach()

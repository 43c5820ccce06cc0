# Installs the library into a folder of its own, builds the consumer against that alone, and runs it.
set(consumer_dir ${CMAKE_CURRENT_BINARY_DIR}/consumer)
set(consumer_options -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE})
if(CMAKE_TOOLCHAIN_FILE)
  list(APPEND consumer_options -DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE})
endif()
if(CppMicroServices_FOUND)
  list(APPEND consumer_options -DCppMicroServices_DIR=${CppMicroServices_DIR})
endif()
if(REGISTRATION_SANITIZE)
  # A program that loads a sanitized library must be sanitized itself, by the same compiler.
  list(APPEND consumer_options -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
    -DCMAKE_CXX_FLAGS=-fsanitize=address,undefined)
endif()
add_test(NAME consumer COMMAND ${CMAKE_COMMAND}
  -D library_build=${CMAKE_BINARY_DIR}
  -D consumer_source=${CMAKE_CURRENT_SOURCE_DIR}/consumer
  -D work_dir=${consumer_dir}
  -D "consumer_options=${consumer_options}"
  -D program_suffix=${CMAKE_EXECUTABLE_SUFFIX}
  -D emulator=${CMAKE_CROSSCOMPILING_EMULATOR}
  -P ${CMAKE_CURRENT_SOURCE_DIR}/consumer/run.cmake)
set_tests_properties(consumer PROPERTIES LABELS consumer)

# The steps of the test "consumer"; test.cmake gives the variables.
function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(prefix ${work_dir}/prefix)
set(build ${work_dir}/build)
file(REMOVE_RECURSE ${work_dir})

run(${CMAKE_COMMAND} --install ${library_build} --prefix ${prefix})
run(${CMAKE_COMMAND} -G Ninja -S ${consumer_source} -B ${build}
  -DCMAKE_PREFIX_PATH=${prefix} ${consumer_options})
run(${CMAKE_COMMAND} --build ${build})

# Windows looks for DLLs beside the program.
file(GLOB dlls ${prefix}/bin/*.dll)
file(COPY ${dlls} DESTINATION ${build})
run(${emulator} ${build}/consumer${program_suffix})

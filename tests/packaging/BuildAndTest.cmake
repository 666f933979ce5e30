# Configures the project SOURCE in BINARY, builds it and runs its tests. The arguments after `--` go
# to the configuration. BINARY is kept, so that a second run has little to do.

set(arguments "")
set(after_dashes FALSE)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(index RANGE ${last})
  if(after_dashes)
    list(APPEND arguments "${CMAKE_ARGV${index}}")
  elseif(CMAKE_ARGV${index} STREQUAL "--")
    set(after_dashes TRUE)
  endif()
endforeach()

execute_process(COMMAND ${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${BINARY} ${arguments}
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${BINARY} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_CTEST_COMMAND} --test-dir ${BINARY} --output-on-failure
                        --no-tests=error COMMAND_ERROR_IS_FATAL ANY)

# Installs what a consumer of the library needs, and nothing else, into a fresh PREFIX.

file(REMOVE_RECURSE "${PREFIX}")
foreach(component IN ITEMS runtime development)
  execute_process(
    COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} --component ${component}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()

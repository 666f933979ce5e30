# Runs PROGRAM and compares what it prints with the lines of SOURCE that begin with "//> ".

file(STRINGS "${SOURCE}" expectedLines REGEX "^//> ")
list(TRANSFORM expectedLines REPLACE "^//> " "")
list(JOIN expectedLines "\n" expected)

execute_process(COMMAND "${PROGRAM}" OUTPUT_VARIABLE printed RESULT_VARIABLE status)
string(REGEX REPLACE "\n$" "" printed "${printed}")

if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${status}")
endif()
if(expected STREQUAL "" OR NOT printed STREQUAL expected)
  message(FATAL_ERROR "expected:\n${expected}\nprinted:\n${printed}")
endif()

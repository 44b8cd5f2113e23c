# cmake -DPROGRAM=<program> -DEXPECTED=<file> -P CompareOutput.cmake
#
# Runs the program and compares its standard output with the file.

execute_process(
  COMMAND ${PROGRAM}
  OUTPUT_VARIABLE output
  ERROR_VARIABLE errors
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${result}:\n${output}${errors}")
endif()
file(READ ${EXPECTED} expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "Expected:\n${expected}\nPrinted:\n${output}")
endif()
